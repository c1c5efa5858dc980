#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "host/unique_resource.h"
#include "scratch_folder.h"
#include "support.h"
#include "what_wine_lacks.h"

namespace {

using WindowsApi::Contents;
using WindowsApi::Exists;
using WindowsApi::kSpoiled;
using WindowsApi::LastError;
using WindowsApi::SpoilLastError;

class FileNames : public testing::Test {
 protected:
  FileNames() { SpoilLastError(); }

  /// \return The error of a call that has to fail.
  static unsigned Failure(BOOL result) {
    const unsigned error = LastError();
    EXPECT_FALSE(result);
    SpoilLastError();
    return error;
  }

  const WindowsApi::ScratchFolder scratch_;
};

using DeleteFileTest = FileNames;

TEST_F(DeleteFileTest, RemovesAndLeavesTheLastErrorAlone) {
  const std::wstring path = scratch_.Write(L"file");
  SpoilLastError();
  EXPECT_TRUE(DeleteFileW(path.c_str()));
  EXPECT_EQ(LastError(), kSpoiled);
  EXPECT_FALSE(Exists(path));
}

TEST_F(DeleteFileTest, Failures) {
  EXPECT_EQ(Failure(DeleteFileW(scratch_.In(L"missing").c_str())), 2u);
  EXPECT_EQ(Failure(DeleteFileW(scratch_.In(L"missing\\x").c_str())), 3u);
  EXPECT_EQ(Failure(DeleteFileW(L"")), 3u);
  EXPECT_EQ(Failure(DeleteFileW(scratch_.Path().c_str())), 5u);
}

TEST_F(DeleteFileTest, ReadOnlyFileStays) {
  const std::wstring path = scratch_.Write(L"file");
  WindowsApi::SetReadOnly(path, true);
  EXPECT_EQ(Failure(DeleteFileW(path.c_str())), 5u);
  EXPECT_TRUE(Exists(path));
  WindowsApi::SetReadOnly(path, false);
}

using Attributes = FileNames;

TEST_F(Attributes, FilesAndFolders) {
  EXPECT_EQ(GetFileAttributesW(scratch_.Write(L"file").c_str()), FILE_ATTRIBUTE_ARCHIVE);
  EXPECT_EQ(GetFileAttributesW(scratch_.Path().c_str()), FILE_ATTRIBUTE_DIRECTORY);
  EXPECT_EQ(GetFileAttributesW((scratch_.Path() + L"\\").c_str()), FILE_ATTRIBUTE_DIRECTORY);
}

TEST_F(Attributes, Failures) {
  const auto failure = [](const std::wstring& path) {
    return Failure(GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES);
  };
  EXPECT_EQ(failure(scratch_.In(L"missing")), 2u);
  EXPECT_EQ(failure(scratch_.In(L"missing\\x")), 3u);
  EXPECT_EQ(failure(scratch_.In(L"*")), 123u);
  EXPECT_EQ(failure(L""), 3u);
}

TEST_F(Attributes, BackslashBehindAFile) {
  SKIP_ON_WINE("GetFileAttributesW answers 3");
  const std::wstring path = scratch_.Write(L"file") + L"\\";
  EXPECT_EQ(Failure(GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES), 123u);
}

class CopyFileTest : public FileNames {
 protected:
  BOOL Copy(const std::wstring& from, const std::wstring& to, BOOL failIfExists = FALSE) {
    SpoilLastError();
    return CopyFileW(scratch_.In(from).c_str(), scratch_.In(to).c_str(), failIfExists);
  }
};

TEST_F(CopyFileTest, CopiesContentAndSetsTheLastErrorToZero) {
  scratch_.Write(L"from", std::string(100'000, 'x'));
  EXPECT_TRUE(Copy(L"from", L"to"));
  EXPECT_EQ(LastError(), 0u);
  EXPECT_EQ(Contents(scratch_.In(L"to")), std::string(100'000, 'x'));
}

TEST_F(CopyFileTest, ReplacesUnlessTold) {
  scratch_.Write(L"from", "new");
  scratch_.Write(L"to", "old text");
  EXPECT_EQ(Failure(Copy(L"from", L"to", TRUE)), 80u);
  EXPECT_EQ(Contents(scratch_.In(L"to")), "old text");
  EXPECT_TRUE(Copy(L"from", L"to"));
  EXPECT_EQ(Contents(scratch_.In(L"to")), "new");
}

TEST_F(CopyFileTest, Failures) {
  scratch_.Write(L"file");
  scratch_.MakeFolder(L"folder");
  EXPECT_EQ(Failure(Copy(L"missing", L"to")), 2u);
  EXPECT_EQ(Failure(Copy(L"file", L"missing\\to")), 3u);
  EXPECT_EQ(Failure(Copy(L"folder", L"to")), 5u);
  EXPECT_EQ(Failure(Copy(L"file", L"folder")), 5u);
  EXPECT_EQ(Failure(Copy(L"file", L"file")), 32u);
  EXPECT_EQ(Contents(scratch_.In(L"file")), "content");
}

TEST_F(CopyFileTest, CopyOfAReadOnlyFileIsReadOnly) {
  const std::wstring path = scratch_.Write(L"file");
  WindowsApi::SetReadOnly(path, true);
  EXPECT_TRUE(Copy(L"file", L"copy"));
  EXPECT_NE(GetFileAttributesW(scratch_.In(L"copy").c_str()) & FILE_ATTRIBUTE_READONLY, 0u);
  WindowsApi::SetReadOnly(path, false);
  WindowsApi::SetReadOnly(scratch_.In(L"copy"), false);
}

TEST_F(CopyFileTest, ReadOnlyTargetStays) {
  SKIP_ON_WINE("run by root, CopyFileW replaces read-only files");
  scratch_.Write(L"from", "new");
  const std::wstring target = scratch_.Write(L"to", "old");
  WindowsApi::SetReadOnly(target, true);
  EXPECT_EQ(Failure(Copy(L"from", L"to")), 5u);
  EXPECT_EQ(Contents(target), "old");
}

class RemoveDirectoryTest : public FileNames {
 protected:
  BOOL Remove(const std::wstring& name) { return RemoveDirectoryW(scratch_.In(name).c_str()); }
};

TEST_F(RemoveDirectoryTest, RemovesEmptyFolders) {
  scratch_.MakeFolder(L"a");
  scratch_.MakeFolder(L"b");
  SpoilLastError();
  EXPECT_TRUE(Remove(L"a"));
  EXPECT_EQ(LastError(), kSpoiled);
  EXPECT_TRUE(Remove(L"b\\"));
  EXPECT_FALSE(Exists(scratch_.In(L"a")));
}

TEST_F(RemoveDirectoryTest, Failures) {
  scratch_.MakeFolder(L"full");
  scratch_.Write(L"full\\file");
  scratch_.Write(L"file");
  EXPECT_EQ(Failure(Remove(L"full")), 145u);
  EXPECT_EQ(Failure(Remove(L"missing")), 2u);
  EXPECT_EQ(Failure(Remove(L"missing\\x")), 3u);
  EXPECT_EQ(Failure(Remove(L"file")), 267u);
}

TEST_F(RemoveDirectoryTest, ReadOnlyFolderStays) {
  SKIP_ON_WINE("RemoveDirectoryW removes read-only folders");
  const std::wstring path = scratch_.MakeFolder(L"folder");
  WindowsApi::SetReadOnly(path, true);
  EXPECT_EQ(Failure(Remove(L"folder")), 5u);
}

class SymbolicLink : public FileNames {
 protected:
  void SetUp() override {
    SKIP_ON_BARE_WINE("CreateSymbolicLinkW answers 1 and makes nothing");
    scratch_.MakeFolder(L"target");
    scratch_.Write(L"target\\file", "behind the link");
  }
  BOOLEAN Link(const std::wstring& name, const std::wstring& target) {
    SpoilLastError();
    return CreateSymbolicLinkW(scratch_.In(name).c_str(), scratch_.In(target).c_str(), 1);
  }
};

TEST_F(SymbolicLink, LeadsToItsTarget) {
  EXPECT_NE(Link(L"link", L"target"), 0);
  EXPECT_EQ(LastError(), kSpoiled);
  EXPECT_EQ(Contents(scratch_.In(L"link\\file")), "behind the link");
  EXPECT_EQ(GetFileAttributesW(scratch_.In(L"link").c_str()),
            FILE_ATTRIBUTE_REPARSE_POINT | FILE_ATTRIBUTE_DIRECTORY);
  EXPECT_TRUE(RemoveDirectoryW(scratch_.In(L"link").c_str()));
}

TEST_F(SymbolicLink, GoesWithoutItsTarget) {
  Link(L"link", L"target");
  EXPECT_TRUE(RemoveDirectoryW((scratch_.In(L"link") + L"\\").c_str()));
  EXPECT_FALSE(Exists(scratch_.In(L"link")));
  EXPECT_EQ(Contents(scratch_.In(L"target\\file")), "behind the link");
}

TEST_F(SymbolicLink, TargetNeedNotExist) {
  EXPECT_NE(Link(L"link", L"nowhere\\at all"), 0);
  EXPECT_TRUE(RemoveDirectoryW(scratch_.In(L"link").c_str()));
}

TEST_F(SymbolicLink, Failures) {
  EXPECT_EQ(Failure(Link(L"target", L"target")), 183u);
  EXPECT_EQ(Failure(Link(L"target\\file", L"target")), 183u);
  EXPECT_EQ(Failure(Link(L"missing\\link", L"target")), 3u);
}

class FindFile : public FileNames {
 protected:
  /// \return All names that a search gives, with the error that ended it.
  std::vector<std::wstring> Names(const std::wstring& pattern) {
    std::vector<std::wstring> names;
    WIN32_FIND_DATAW entry = {};
    const HANDLE find = FindFirstFileW(scratch_.In(pattern).c_str(), &entry);
    if (find == INVALID_HANDLE_VALUE) {
      end_ = LastError();
      return names;
    }
    do names.emplace_back(entry.cFileName);
    while (FindNextFileW(find, &entry));
    end_ = LastError();
    EXPECT_TRUE(FindClose(find));
    return names;
  }
  unsigned end_ = 0;
};

TEST_F(FindFile, EmptyFolderHasItsTwoDots) {
  scratch_.MakeFolder(L"empty");
  EXPECT_EQ(Names(L"empty\\*"), (std::vector<std::wstring>{L".", L".."}));
  EXPECT_EQ(end_, 18u);
}

TEST_F(FindFile, PatternsHaveNoCase) {
  scratch_.Write(L"Beta.TXT");
  scratch_.Write(L"alpha.txt");
  scratch_.Write(L"gamma.log");
  EXPECT_EQ(Names(L"*.txt"), (std::vector<std::wstring>{L"alpha.txt", L"Beta.TXT"}));
  EXPECT_EQ(Names(L"GAMMA.log"), (std::vector<std::wstring>{L"gamma.log"}));
  EXPECT_EQ(Names(L"?LPHA.txt"), (std::vector<std::wstring>{L"alpha.txt"}));
}

TEST_F(FindFile, Failures) {
  scratch_.Write(L"file");
  Names(L"missing\\*");
  EXPECT_EQ(end_, 3u);
  Names(L"missing*");
  EXPECT_EQ(end_, 2u);
  WIN32_FIND_DATAW entry = {};
  EXPECT_EQ(Failure(FindNextFileW(nullptr, &entry)), 6u);
}

TEST_F(FindFile, FileIsNoFolder) {
  SKIP_ON_WINE("FindFirstFileW answers 123");
  scratch_.Write(L"file");
  Names(L"file\\*");
  EXPECT_EQ(end_, 267u);
}

TEST_F(FindFile, RootOfADriveHasNoDots) {
  WIN32_FIND_DATAW entry = {};
  const HANDLE find = FindFirstFileW(L"C:\\*", &entry);
  ASSERT_NE(find, INVALID_HANDLE_VALUE);
  EXPECT_STRNE(entry.cFileName, L".");
  EXPECT_TRUE(FindClose(find));
}

TEST_F(FindFile, EntriesTellSizeAndKind) {
  scratch_.Write(L"file", "12345");
  WIN32_FIND_DATAW entry = {};
  const HANDLE find = FindFirstFileW(scratch_.In(L"FILE").c_str(), &entry);
  ASSERT_NE(find, INVALID_HANDLE_VALUE);
  EXPECT_STREQ(entry.cFileName, L"file");
  EXPECT_EQ(entry.nFileSizeLow, 5u);
  EXPECT_EQ(entry.nFileSizeHigh, 0u);
  EXPECT_EQ(entry.dwFileAttributes, FILE_ATTRIBUTE_ARCHIVE);
  EXPECT_NE(entry.ftLastWriteTime.dwHighDateTime, 0u);
  EXPECT_TRUE(FindClose(find));
}

TEST_F(FindFile, SearchIsNoObjectOfTheSystem) {
  SKIP_ON_WINE("closing a search handle by CloseHandle crashes some versions");
  WIN32_FIND_DATAW entry = {};
  const HANDLE find = FindFirstFileW(scratch_.In(L"*").c_str(), &entry);
  EXPECT_EQ(Failure(CloseHandle(find)), 6u);
  EXPECT_TRUE(FindClose(find));
  EXPECT_EQ(Failure(FindClose(find)), 6u);
}

}  // namespace
