#include <gtest/gtest.h>

#include <string>

#include "host/unique_resource.h"
#include "scratch_folder.h"
#include "support.h"

namespace {

using Halvard::Host::UniqueFile;
using WindowsApi::Contents;
using WindowsApi::Exists;
using WindowsApi::kShareAll;
using WindowsApi::kSpoiled;
using WindowsApi::LastError;
using WindowsApi::SpoilLastError;

class CreateFileTest : public testing::Test {
 protected:
  /// The last error is that of the call: nothing runs behind it.
  static HANDLE Open(const std::wstring& path, DWORD access, DWORD disposition,
                     DWORD flags = FILE_ATTRIBUTE_NORMAL) {
    SpoilLastError();
    return CreateFileW(path.c_str(), access, kShareAll, nullptr, disposition, flags, nullptr);
  }

  /// \return The error of an open that has to fail.
  static unsigned Failure(const std::wstring& path, DWORD access, DWORD disposition,
                          DWORD flags = FILE_ATTRIBUTE_NORMAL) {
    const UniqueFile file(Open(path, access, disposition, flags));
    EXPECT_FALSE(file);
    return LastError();
  }

  const WindowsApi::ScratchFolder scratch_;
};

TEST_F(CreateFileTest, OpeningSetsTheLastErrorToZero) {
  const UniqueFile file(Open(scratch_.Write(L"a"), GENERIC_READ, OPEN_EXISTING));
  EXPECT_TRUE(file);
  EXPECT_EQ(LastError(), 0u);
}

TEST_F(CreateFileTest, CreateNewWantsNoFile) {
  {
    const UniqueFile file(Open(scratch_.In(L"new"), GENERIC_WRITE, CREATE_NEW));
    EXPECT_TRUE(file);
    EXPECT_EQ(LastError(), 0u);
  }
  EXPECT_EQ(Failure(scratch_.In(L"new"), GENERIC_WRITE, CREATE_NEW), 80u);
  EXPECT_EQ(Failure(scratch_.Path(), GENERIC_WRITE, CREATE_NEW), 80u);
}

TEST_F(CreateFileTest, CreateAlwaysEmptiesAndTellsThatItExisted) {
  const std::wstring path = scratch_.Write(L"old", "content");
  {
    const UniqueFile file(Open(path, GENERIC_WRITE, CREATE_ALWAYS));
    EXPECT_TRUE(file);
    EXPECT_EQ(LastError(), 183u);
  }
  EXPECT_EQ(Contents(path), "");
}

TEST_F(CreateFileTest, CreateAlwaysMakesAFile) {
  {
    const UniqueFile file(Open(scratch_.In(L"new"), GENERIC_WRITE, CREATE_ALWAYS));
    EXPECT_TRUE(file);
    EXPECT_EQ(LastError(), 0u);
  }
  EXPECT_EQ(GetFileAttributesW(scratch_.In(L"new").c_str()), FILE_ATTRIBUTE_ARCHIVE);
}

TEST_F(CreateFileTest, OpenAlwaysKeepsTheContentAndTellsThatItExisted) {
  const std::wstring path = scratch_.Write(L"old", "content");
  {
    const UniqueFile file(Open(path, GENERIC_WRITE, OPEN_ALWAYS));
    EXPECT_TRUE(file);
    EXPECT_EQ(LastError(), 183u);
  }
  EXPECT_EQ(Contents(path), "content");
}

TEST_F(CreateFileTest, MissingNames) {
  EXPECT_EQ(Failure(scratch_.In(L"missing"), GENERIC_READ, OPEN_EXISTING), 2u);
  EXPECT_EQ(Failure(scratch_.In(L"missing\\x"), GENERIC_READ, OPEN_EXISTING), 3u);
  EXPECT_EQ(Failure(scratch_.In(L"missing\\x"), GENERIC_WRITE, CREATE_ALWAYS), 3u);
  EXPECT_EQ(Failure(L"", GENERIC_READ, OPEN_EXISTING), 3u);
}

TEST_F(CreateFileTest, MissingDrive) {
  SKIP_ON_WINE("CreateFileW answers 2 for a drive that isn't there");
  EXPECT_EQ(Failure(L"Q:\\x", GENERIC_READ, OPEN_EXISTING), 3u);
}

TEST_F(CreateFileTest, IllegalNames) {
  for (const wchar_t* name : {L"a*", L"a?", L"a<", L"a>", L"a\"", L"a|"}) {
    EXPECT_EQ(Failure(scratch_.In(name), GENERIC_WRITE, CREATE_ALWAYS), 123u);
  }
  EXPECT_EQ(Failure(scratch_.Write(L"file") + L"\\", GENERIC_READ, OPEN_EXISTING), 123u);
}

TEST_F(CreateFileTest, NamesHaveNoCase) {
  scratch_.Write(L"Straße.TXT", "x");
  EXPECT_EQ(Contents(scratch_.In(L"sTRAßE.txt")), "x");
}

TEST_F(CreateFileTest, FoldersAreRefused) {
  EXPECT_EQ(Failure(scratch_.Path(), GENERIC_READ, OPEN_EXISTING), 5u);
  EXPECT_EQ(Failure(scratch_.Path(), GENERIC_WRITE, CREATE_ALWAYS), 5u);
}

TEST_F(CreateFileTest, FoldersOpenForBackup) {
  constexpr DWORD kWatching = FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OVERLAPPED;
  const UniqueFile folder(Open(scratch_.Path(), FILE_LIST_DIRECTORY, OPEN_EXISTING, kWatching));
  EXPECT_TRUE(folder);
  const UniqueFile again(
      Open(scratch_.Path() + L"\\", FILE_LIST_DIRECTORY, OPEN_EXISTING, kWatching));
  EXPECT_TRUE(again);
}

TEST_F(CreateFileTest, ReadOnlyFilesRefuseWriting) {
  SKIP_ON_WINE("run by root, CreateFileW opens read-only files for writing");
  const std::wstring path = scratch_.Write(L"file");
  WindowsApi::SetReadOnly(path, true);
  EXPECT_EQ(Failure(path, GENERIC_WRITE, OPEN_EXISTING), 5u);
  EXPECT_EQ(Failure(path, GENERIC_WRITE, CREATE_ALWAYS), 5u);
  EXPECT_EQ(Contents(path), "content");
}

TEST_F(CreateFileTest, ReadOnlyFilesRefuseDeletionOnClose) {
  const std::wstring path = scratch_.Write(L"file");
  WindowsApi::SetReadOnly(path, true);
  EXPECT_EQ(Failure(path, GENERIC_READ, OPEN_EXISTING, FILE_FLAG_DELETE_ON_CLOSE), 5u);
  EXPECT_TRUE(Exists(path));
  WindowsApi::SetReadOnly(path, false);
}

TEST_F(CreateFileTest, NewFileCanBeReadOnly) {
  {
    const UniqueFile file(
        Open(scratch_.In(L"new"), GENERIC_WRITE, CREATE_ALWAYS, FILE_ATTRIBUTE_READONLY));
    DWORD written = 0;
    EXPECT_TRUE(WriteFile(file.Get(), "x", 1, &written, nullptr));
  }
  EXPECT_NE(GetFileAttributesW(scratch_.In(L"new").c_str()) & FILE_ATTRIBUTE_READONLY, 0u);
  WindowsApi::SetReadOnly(scratch_.In(L"new"), false);
}

TEST_F(CreateFileTest, DeleteOnCloseTakesTheNameWithTheHandle) {
  const std::wstring path = scratch_.Write(L"file");
  {
    const UniqueFile file(Open(path, GENERIC_READ, OPEN_EXISTING, FILE_FLAG_DELETE_ON_CLOSE));
    EXPECT_TRUE(file);
    EXPECT_TRUE(Exists(path));
  }
  EXPECT_FALSE(Exists(path));
}

TEST_F(CreateFileTest, DeleteOnCloseWaitsForTheLastHandle) {
  const std::wstring path = scratch_.Write(L"file");
  UniqueFile other(Open(path, GENERIC_READ, OPEN_EXISTING));
  { const UniqueFile file(Open(path, GENERIC_READ, OPEN_EXISTING, FILE_FLAG_DELETE_ON_CLOSE)); }
  other.Reset();
  EXPECT_FALSE(Exists(path));
}

TEST_F(CreateFileTest, FileThatIsToGoCannotBeOpened) {
  SKIP_ON_WINE("CreateFileW opens a file whose deletion is pending");
  const std::wstring path = scratch_.Write(L"file");
  const UniqueFile other(Open(path, GENERIC_READ, OPEN_EXISTING));
  { const UniqueFile file(Open(path, GENERIC_READ, OPEN_EXISTING, FILE_FLAG_DELETE_ON_CLOSE)); }
  EXPECT_EQ(Failure(path, GENERIC_READ, OPEN_EXISTING), 5u);
}

TEST(CloseHandle, BadHandles) {
  SpoilLastError();
  EXPECT_FALSE(CloseHandle(nullptr));
  EXPECT_EQ(LastError(), 6u);
  const HANDLE event = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  SpoilLastError();
  EXPECT_TRUE(CloseHandle(event));
  EXPECT_EQ(LastError(), kSpoiled);
  EXPECT_FALSE(CloseHandle(event));
  EXPECT_EQ(LastError(), 6u);
}

TEST(CloseHandle, ProcessItselfStaysOpen) { EXPECT_TRUE(CloseHandle(INVALID_HANDLE_VALUE)); }

}  // namespace
