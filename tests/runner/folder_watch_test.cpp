#include "runner/folder_watch.h"

#include "runner/folder_changes.h"
#include "runner_test.h"

namespace Halvard::Runner {
namespace {

class WatchedFolder : public RunnerTest {
 protected:
  WatchedFolder() { machine_.MakeFolder(folder_); }

  void Write(const std::wstring& name) { machine_.WriteFile(folder_ + L"\\" + name, "text"); }

  /// \return Whether the next changes tell of the file; they come at once, or the test hangs.
  bool TellsOf(const std::wstring& name) {
    EXPECT_EQ(WaitForSingleObject(watch_.Event(), INFINITE), WAIT_OBJECT_0);
    DWORD bytes = 0;
    EXPECT_TRUE(watch_.Take(bytes));
    return TellsOfFile(watch_.Records(), bytes, name);
  }
  bool IsSet() const { return WaitForSingleObject(watch_.Event(), 0) == WAIT_OBJECT_0; }

  const std::wstring folder_ = L"C:\\Watched \u00e4\u8a66";
  FolderWatch watch_;
};

TEST_F(WatchedFolder, TellsOfAFileThatIsMade) {
  ASSERT_TRUE(watch_.Begin(folder_ + L"\\"));
  EXPECT_FALSE(IsSet());
  Write(L"status.json");
  EXPECT_TRUE(TellsOf(L"status.json"));
}

TEST_F(WatchedFolder, IsSilentBehindWhatWasTakenUntilTheNextChange) {
  ASSERT_TRUE(watch_.Begin(folder_ + L"\\"));
  Write(L"first");
  EXPECT_TRUE(TellsOf(L"first"));
  EXPECT_FALSE(IsSet());
  Write(L"second");
  ASSERT_TRUE(watch_.Continue());
  while (!TellsOf(L"second")) ASSERT_TRUE(watch_.Continue());
}

TEST_F(WatchedFolder, LetsGoOfTheFolderAndKeepsTheEvent) {
  ASSERT_TRUE(watch_.Begin(folder_ + L"\\"));
  watch_.End();
  EXPECT_THAT(NewHandles(), testing::ElementsAre("Event"));
  CloseHandle(watch_.Event());
}

TEST_F(WatchedFolder, HasToBeThere) {
  EXPECT_FALSE(watch_.Begin(L"C:\\none\\deeper\\"));
  EXPECT_EQ(Testing::OwnLog().back(),
            Testing::ErrorLine(L"MonitorStatusFile: Failed to open status file directory "
                               L"\"C:\\none\\deeper\\\": 3"));
}

}  // namespace
}  // namespace Halvard::Runner
