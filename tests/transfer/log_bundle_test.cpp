#include "transfer/log_bundle.h"

#include "core/logging.h"
#include "zip_test.h"

namespace Halvard::Transfer {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::EndsWith;
using Testing::ErrorLine;
using testing::IsEmpty;
using testing::Key;
using Testing::LogLine;
using testing::Not;
using testing::Pair;

class LogBundle : public ZipTest {
 protected:
  LogBundle() {
    machine_.RemoveFile(zip_);
    LogScope log;
    log.Info(L"Before the bundle: \u6771\u4eac");
  }

  bool Bundle() {
    bool result = false;
    std::thread([&] { result = CreateLogsZipBundle(zip_); }).join();
    return result;
  }

  void ExpectFailure(const std::wstring& line) {
    EXPECT_FALSE(Bundle());
    EXPECT_THAT(LinesOf(L"CreateLogsZipBundle"), ElementsAre(ErrorLine(line)));
  }

  /// As the agent names it.
  const std::wstring folder_ = GetTempDirectory() + L"kvsMigration";
  const std::wstring ownLog_ = GetTempDirectory() + L"halvard.log";
  const std::wstring copy_ = folder_ + L"\\halvard.log";
};

TEST_F(LogBundle, HoldsTheOwnLogAloneWithoutARunnersFolder) {
  EXPECT_TRUE(Bundle());
  const auto contents = Contents();
  EXPECT_THAT(contents, ElementsAre(Key("halvard.log")));
  EXPECT_THAT(contents.at("halvard.log"), testing::HasSubstr("Before the bundle: \u6771\u4eac\n"));
  EXPECT_THAT(machine_.ListFolder(folder_), IsEmpty());
  EXPECT_THAT(LinesOf(L"CreateLogsZipBundle"), IsEmpty());
}

TEST_F(LogBundle, HoldsWhatTheRunnerLogged) {
  machine_.WriteFile(folder_ + L"\\upgrade\\Runner \u00e4.log", "ran");
  machine_.WriteFile(folder_ + L"\\halvard.log", "of the last bundle");
  machine_.MakeFolder(folder_ + L"\\nothing");
  EXPECT_TRUE(Bundle());
  const auto contents = Contents();
  EXPECT_THAT(contents, ElementsAre(Key("halvard.log"), Pair("upgrade/Runner \u00e4.log", "ran")));
  EXPECT_THAT(contents.at("halvard.log"), Not(testing::HasSubstr("of the last bundle")));
  EXPECT_THAT(machine_.ListFolder(folder_), ElementsAre(L"upgrade"));
}

TEST_F(LogBundle, EndsWhereTheLogWasWhenItBegan) {
  EXPECT_TRUE(Bundle());
  EXPECT_THAT(Contents().at("halvard.log"),
              EndsWith("CreateEmptyZipFile: Successfully created empty zip file\n"));
}

TEST_F(LogBundle, IsMadeAnew) {
  EXPECT_TRUE(Bundle());
  machine_.WriteFile(folder_ + L"\\later.log", "later");
  EXPECT_TRUE(Bundle());
  EXPECT_THAT(Contents(), ElementsAre(Key("halvard.log"), Pair("later.log", "later")));
}

TEST_F(LogBundle, NeedsAPlace) {
  machine_.RemoveFile(parent_);
  EXPECT_FALSE(Bundle());
  EXPECT_THAT(LinesOf(L"CreateLogsZipBundle"), IsEmpty());
  EXPECT_THAT(
      LinesOf(L"CreateEmptyZipFile"),
      ElementsAre(ErrorLine(L"CreateEmptyZipFile: Failed to create zip file " + zip_ + L": 3")));
  EXPECT_FALSE(machine_.FileExists(folder_));
}

TEST_F(LogBundle, NeedsAFolderThoughItGoesOnWithoutOne) {
  const std::vector<LogLine> lines{
      ErrorLine(L"CreateLogsZipBundle: Failed to create " + folder_ + L" directory."),
      ErrorLine(L"CreateLogsZipBundle: Failed to copy " + ownLog_ + L" file to the " + folder_ +
                L" directory.")};
  machine_.PlanFault({.function = "CreateDirectoryW", .error = 5});
  EXPECT_FALSE(Bundle());
  EXPECT_EQ(LinesOf(L"CreateLogsZipBundle"), lines);
}

TEST_F(LogBundle, CantUseAFileInPlaceOfTheFolder) {
  machine_.WriteFile(folder_, "a file");
  EXPECT_FALSE(Bundle());
  EXPECT_THAT(
      LinesOf(L"CreateLogsZipBundle"),
      ElementsAre(ErrorLine(L"CreateLogsZipBundle: Failed to create " + folder_ + L" directory."),
                  ErrorLine(L"CreateLogsZipBundle: Failed to copy " + ownLog_ + L" file to the " +
                            folder_ + L" directory.")));
  EXPECT_EQ(machine_.ReadFile(folder_), "a file");
}

TEST_F(LogBundle, NeedsACopyOfTheLog) {
  machine_.PlanFault({.function = "CopyFileW", .error = 112});
  ExpectFailure(L"CreateLogsZipBundle: Failed to copy " + ownLog_ + L" file to the " + folder_ +
                L" directory.");
}

TEST_F(LogBundle, NeedsToLookForEmptyFolders) {
  machine_.PlanFault({.function = "FindFirstFileW", .error = 5});
  ExpectFailure(L"CreateLogsZipBundle: Failed to remove empty sub-directories in the " + folder_ +
                L" directory.");
  EXPECT_TRUE(machine_.FileExists(copy_));
}

TEST_F(LogBundle, NeedsAZip) {
  machine_.PlanFault({.function = "Folder_CopyHere", .error = 0x80070005});
  ExpectFailure(L"CreateLogsZipBundle: Failed to zip the " + folder_ + L" directory");
  EXPECT_TRUE(machine_.FileExists(copy_));
  EXPECT_EQ(ZipSize(), 22u);
}

}  // namespace
}  // namespace Halvard::Transfer
