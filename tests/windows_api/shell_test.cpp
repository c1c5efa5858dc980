#include <gtest/gtest.h>

#include <string>

#include "scratch_folder.h"
#include "support.h"

namespace {

using WindowsApi::Exists;

class ShellDelete : public testing::Test {
 protected:
  int Delete(const std::wstring& name) {
    const std::wstring list = scratch_.In(name) + std::wstring(2, L'\0');
    SHFILEOPSTRUCTW operation = {};
    operation.wFunc = FO_DELETE;
    operation.pFrom = list.c_str();
    operation.fFlags = FOF_SILENT | FOF_NOCONFIRMATION | FOF_NOCONFIRMMKDIR | FOF_NOERRORUI;
    const int result = SHFileOperationW(&operation);
    EXPECT_FALSE(operation.fAnyOperationsAborted);
    return result;
  }
  const WindowsApi::ScratchFolder scratch_;
};

TEST_F(ShellDelete, FoldersGoWithTheirContent) {
  scratch_.MakeFolder(L"a");
  scratch_.MakeFolder(L"a\\b");
  scratch_.Write(L"a\\file");
  WindowsApi::SetReadOnly(scratch_.Write(L"a\\b\\read-only"), true);
  EXPECT_EQ(Delete(L"a"), 0);
  EXPECT_FALSE(Exists(scratch_.In(L"a")));
}

TEST_F(ShellDelete, SingleFile) {
  scratch_.Write(L"file");
  EXPECT_EQ(Delete(L"file"), 0);
  EXPECT_FALSE(Exists(scratch_.In(L"file")));
}

TEST_F(ShellDelete, PatternsTakeWhatFits) {
  scratch_.Write(L"a.tmp");
  scratch_.Write(L"b.TMP");
  scratch_.Write(L"c.log");
  EXPECT_EQ(Delete(L"*.tmp"), 0);
  EXPECT_FALSE(Exists(scratch_.In(L"a.tmp")));
  EXPECT_FALSE(Exists(scratch_.In(L"b.TMP")));
  EXPECT_TRUE(Exists(scratch_.In(L"c.log")));
}

TEST_F(ShellDelete, PatternWithoutAFitSucceeds) { EXPECT_EQ(Delete(L"*.tmp"), 0); }

TEST_F(ShellDelete, MissingName) {
  SKIP_ON_WINE("SHFileOperationW answers 1026, as Windows did before Vista");
  EXPECT_EQ(Delete(L"missing"), 2);
}

TEST_F(ShellDelete, MissingFolderOnTheWay) {
  SKIP_ON_WINE("SHFileOperationW answers 1026, as Windows did before Vista");
  EXPECT_EQ(Delete(L"missing\\x"), 124);
}

TEST_F(ShellDelete, LinksGoAsLinks) {
  SKIP_ON_WINE("CreateSymbolicLinkW makes nothing");
  scratch_.MakeFolder(L"target");
  scratch_.Write(L"target\\file");
  scratch_.MakeFolder(L"a");
  ASSERT_NE(CreateSymbolicLinkW(scratch_.In(L"a\\link").c_str(), scratch_.In(L"target").c_str(), 1),
            0);
  EXPECT_EQ(Delete(L"a"), 0);
  EXPECT_TRUE(Exists(scratch_.In(L"target\\file")));
}

TEST(KnownFolder, LocalAppDataAndDesktopHaveNoBackslashAtTheEnd) {
  for (const KNOWNFOLDERID& id : {FOLDERID_LocalAppData, FOLDERID_Desktop}) {
    PWSTR path = nullptr;
    ASSERT_EQ(SHGetKnownFolderPath(id, 0, nullptr, &path), S_OK);
    const std::wstring folder(path);
    CoTaskMemFree(path);
    EXPECT_TRUE(Exists(folder));
    EXPECT_FALSE(folder.ends_with(L'\\'));
  }
}

TEST(KnownFolder, UnknownOneIsNotFound) {
  const KNOWNFOLDERID unknown = {0x12345678, 0x1234, 0x1234, {1, 2, 3, 4, 5, 6, 7, 8}};
  PWSTR path = nullptr;
  EXPECT_EQ(SHGetKnownFolderPath(unknown, 0, nullptr, &path), static_cast<HRESULT>(0x80070002));
  EXPECT_EQ(path, nullptr);
  CoTaskMemFree(path);
}

TEST(Module, NameOfTheProgram) {
  wchar_t path[MAX_PATH] = {};
  const DWORD length = GetModuleFileNameW(nullptr, path, MAX_PATH);
  EXPECT_EQ(length, std::wcslen(path));
  EXPECT_TRUE(std::wstring(path).ends_with(L".exe"));
  EXPECT_NE(GetModuleHandleW(nullptr), nullptr);
}

TEST(Module, NameIsCutToTheBuffer) {
  wchar_t path[6] = L"#####";
  EXPECT_EQ(GetModuleFileNameW(nullptr, path, 5), 5u);
  EXPECT_EQ(WindowsApi::LastError(), 122u);
}

TEST(Module, CutNameIsTerminated) {
  SKIP_ON_WINE("GetModuleFileNameW leaves a cut name without its terminator");
  wchar_t path[5] = L"####";
  GetModuleFileNameW(nullptr, path, 5);
  EXPECT_EQ(std::wcslen(path), 4u);
}

class ShellFolder : public testing::Test {
 protected:
  static int Make(const std::wstring& path) {
    return SHCreateDirectoryExW(nullptr, path.c_str(), nullptr);
  }
  const WindowsApi::ScratchFolder scratch_;
};

TEST_F(ShellFolder, IsMadeWithAllAboveIt) {
  EXPECT_EQ(Make(scratch_.In(L"a\\\u00e4 \u6771\\c")), 0);
  EXPECT_TRUE(Exists(scratch_.In(L"a\\\u00e4 \u6771\\c")));
  EXPECT_EQ(Make(scratch_.In(L"a\\d\\")), 0);
  EXPECT_TRUE(Exists(scratch_.In(L"a\\d")));
}

TEST_F(ShellFolder, IsToldWhenItIsThere) {
  scratch_.MakeFolder(L"a");
  scratch_.Write(L"file");
  EXPECT_EQ(Make(scratch_.In(L"a")), ERROR_ALREADY_EXISTS);
  EXPECT_EQ(Make(scratch_.In(L"file")), ERROR_ALREADY_EXISTS);
}

TEST_F(ShellFolder, CannotBeMadeEverywhere) {
  scratch_.Write(L"file");
  EXPECT_EQ(Make(scratch_.In(L"file\\a")), ERROR_PATH_NOT_FOUND);
  EXPECT_EQ(Make(L"relative"), ERROR_BAD_PATHNAME);
  EXPECT_EQ(Make(L""), ERROR_BAD_PATHNAME);
  EXPECT_EQ(Make(scratch_.In(L"a|b")), ERROR_INVALID_NAME);
}

TEST_F(ShellFolder, LeavesRoomForAShortName) {
  SKIP_ON_WINE("Wine makes folders with longer paths");
  const std::wstring path = scratch_.In(L"");
  EXPECT_EQ(Make(path + std::wstring(247 - path.size(), L'x')), 0);
  EXPECT_EQ(Make(path + std::wstring(248 - path.size(), L'x')), ERROR_FILENAME_EXCED_RANGE);
}

}  // namespace
