// Watching a folder in the background.
#include <gmock/gmock.h>

#include <cstddef>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "host/unique_resource.h"
#include "scratch_folder.h"
#include "support.h"

namespace {

using Halvard::Host::UniqueFile;
using Halvard::Host::UniqueHandle;
using testing::ElementsAre;
using testing::Pair;
using WindowsApi::LastError;
using WindowsApi::SpoilLastError;

constexpr DWORD kFilter = FILE_NOTIFY_CHANGE_FILE_NAME | FILE_NOTIFY_CHANGE_LAST_WRITE;
constexpr unsigned kAdded = 1, kRemoved = 2, kModified = 3, kOldName = 4, kNewName = 5;
constexpr DWORD kPatience = 10'000;

using Change = std::pair<unsigned, std::wstring>;

class FolderChanges : public testing::Test {
 protected:
  FolderChanges() { overlapped_.hEvent = event_.Get(); }

  static UniqueFile OpenFolder(const std::wstring& path) {
    return UniqueFile(CreateFileW(path.c_str(), FILE_LIST_DIRECTORY, 7, nullptr, OPEN_EXISTING,
                                  FILE_FLAG_OVERLAPPED | FILE_FLAG_BACKUP_SEMANTICS, nullptr));
  }

  BOOL Request(DWORD size = 65536, DWORD filter = kFilter) {
    return ReadDirectoryChangesW(folder_.Get(), buffer_, size, FALSE, filter, nullptr, &overlapped_,
                                 nullptr);
  }

  BOOL Result() { return GetOverlappedResult(folder_.Get(), &overlapped_, &bytes_, FALSE); }

  bool IsSet() { return WaitForSingleObject(event_.Get(), 0) == WAIT_OBJECT_0; }

  /// Takes records until there are as many as wanted. Equal ones in a row count once: systems tell
  /// of one write once or twice.
  std::vector<Change> Take(std::size_t wanted) {
    std::vector<Change> changes;
    while (changes.size() < wanted) {
      if (WaitForSingleObject(event_.Get(), kPatience) != WAIT_OBJECT_0 || !Result()) break;
      AppendRecords(changes);
      EXPECT_TRUE(Request());
    }
    return changes;
  }

  void AppendRecords(std::vector<Change>& changes) const {
    constexpr std::size_t kHeader = offsetof(FILE_NOTIFY_INFORMATION, FileName);
    for (std::size_t at = 0; at + kHeader <= bytes_;) {
      DWORD header[3] = {};
      std::memcpy(header, buffer_ + at, sizeof header);
      std::wstring name(header[2] / sizeof(wchar_t), L'\0');
      std::memcpy(name.data(), buffer_ + at + kHeader, header[2]);
      const Change change(static_cast<unsigned>(header[1]), name);
      if (changes.empty() || changes.back() != change) changes.push_back(change);
      if (header[0] == 0) break;
      at += header[0];
    }
  }

  const WindowsApi::ScratchFolder scratch_;
  const UniqueHandle event_{CreateEventW(nullptr, TRUE, FALSE, nullptr)};
  UniqueFile folder_ = OpenFolder(scratch_.Path() + L"\\");
  OVERLAPPED overlapped_ = {};
  DWORD bytes_ = 4711;
  alignas(DWORD) char buffer_[65536] = {};
};

TEST_F(FolderChanges, NothingHappensUntilSomethingChanges) {
  ASSERT_TRUE(Request());
  EXPECT_FALSE(IsSet());
  SpoilLastError();
  EXPECT_FALSE(Result());
  EXPECT_EQ(LastError(), 996u);
}

TEST_F(FolderChanges, ANewFileIsAddedAndModified) {
  ASSERT_TRUE(Request());
  scratch_.Write(L"status \u00e4\u8a66 \U0001D4BD.json", "{}");
  EXPECT_THAT(Take(2), ElementsAre(Pair(kAdded, L"status \u00e4\u8a66 \U0001D4BD.json"),
                                   Pair(kModified, L"status \u00e4\u8a66 \U0001D4BD.json")));
}

TEST_F(FolderChanges, AnOldFileIsModified) {
  scratch_.Write(L"old.txt", "one");
  ASSERT_TRUE(Request());
  scratch_.Write(L"old.txt", "two");
  EXPECT_THAT(Take(1), ElementsAre(Pair(kModified, L"old.txt")));
}

TEST_F(FolderChanges, ARenamingHasTwoRecords) {
  scratch_.Write(L"old.txt");
  scratch_.Write(L"target.txt");
  ASSERT_TRUE(Request());
  WindowsApi::RenameAt(scratch_.In(L"old.txt"), scratch_.In(L"target.txt"));
  EXPECT_THAT(Take(2), ElementsAre(Pair(kOldName, L"old.txt"), Pair(kNewName, L"target.txt")));
}

TEST_F(FolderChanges, ADeletedFileIsRemoved) {
  const std::wstring file = scratch_.Write(L"old.txt");
  ASSERT_TRUE(Request());
  EXPECT_TRUE(DeleteFileW(file.c_str()));
  EXPECT_THAT(Take(1), ElementsAre(Pair(kRemoved, L"old.txt")));
}

TEST_F(FolderChanges, FoldersDontCount) {
  ASSERT_TRUE(Request());
  scratch_.MakeFolder(L"folder");
  scratch_.Write(L"file");
  EXPECT_THAT(Take(2), ElementsAre(Pair(kAdded, L"file"), Pair(kModified, L"file")));
}

TEST_F(FolderChanges, NeitherDoesWhatLiesDeeper) {
  scratch_.MakeFolder(L"folder");
  ASSERT_TRUE(Request());
  scratch_.Write(L"folder\\deep");
  EXPECT_FALSE(IsSet());
}

TEST_F(FolderChanges, AreKeptBetweenTwoRequests) {
  const std::wstring one = scratch_.Write(L"one");
  const std::wstring two = scratch_.Write(L"two");
  ASSERT_TRUE(Request());
  EXPECT_TRUE(DeleteFileW(one.c_str()));
  ASSERT_EQ(WaitForSingleObject(event_.Get(), kPatience), WAIT_OBJECT_0);
  EXPECT_TRUE(DeleteFileW(two.c_str()));
  ASSERT_TRUE(Request());
  EXPECT_THAT(Take(1), ElementsAre(Pair(kRemoved, L"two")));
}

TEST_F(FolderChanges, EachRequestResetsTheEvent) {
  const std::wstring file = scratch_.Write(L"old.txt");
  ASSERT_TRUE(Request());
  EXPECT_TRUE(DeleteFileW(file.c_str()));
  EXPECT_THAT(Take(1), ElementsAre(Pair(kRemoved, L"old.txt")));
  EXPECT_FALSE(IsSet());
}

TEST_F(FolderChanges, WakeAWaitingThread) {
  ASSERT_TRUE(Request());
  const UniqueHandle writer(CreateThread(
      nullptr, 0,
      [](LPVOID scratch) -> DWORD {
        static_cast<const WindowsApi::ScratchFolder*>(scratch)->Write(L"file");
        return 0;
      },
      const_cast<WindowsApi::ScratchFolder*>(&scratch_), 0, nullptr));
  EXPECT_THAT(Take(1), testing::Contains(Pair(kAdded, L"file")));
  WaitForSingleObject(writer.Get(), INFINITE);
}

TEST_F(FolderChanges, ThatDontFitEndTheRequestWithoutBytes) {
  SKIP_ON_WINE("Wine 8 answers an overflow with FALSE and 1022");
  constexpr DWORD kTooSmall = 64;
  ASSERT_TRUE(Request(kTooSmall));
  scratch_.Write(L"a file with a name that is longer than the buffer of this request");
  EXPECT_TRUE(IsSet());
  EXPECT_TRUE(Result());
  EXPECT_EQ(bytes_, 0u);
}

TEST_F(FolderChanges, MoreThanTheBufferHoldsEndTheRequestWithoutBytes) {
  SKIP_ON_WINE("Wine 8 answers an overflow with FALSE and 1022");
  ASSERT_TRUE(Request());
  const std::wstring name(200, L'n');
  for (int i = 0; i < 200; ++i) scratch_.Write(name + std::to_wstring(i));
  EXPECT_TRUE(IsSet());
  EXPECT_TRUE(Result());
  EXPECT_EQ(bytes_, 0u);
  ASSERT_TRUE(Request());
  EXPECT_FALSE(IsSet());
}

TEST_F(FolderChanges, NeedAFilterAndAHandle) {
  SpoilLastError();
  EXPECT_FALSE(Request(65536, 0));
  EXPECT_EQ(LastError(), 87u);
  SpoilLastError();
  EXPECT_FALSE(ReadDirectoryChangesW(nullptr, buffer_, 65536, FALSE, kFilter, nullptr, &overlapped_,
                                     nullptr));
  EXPECT_EQ(LastError(), 6u);
}

TEST_F(FolderChanges, OfAFileCantBeHad) {
  SKIP_ON_WINE("Wine 8 answers 6 for a file that is open for listing");
  folder_ = OpenFolder(scratch_.Write(L"file"));
  ASSERT_TRUE(folder_);
  SpoilLastError();
  EXPECT_FALSE(Request());
  EXPECT_EQ(LastError(), 87u);
}

}  // namespace
