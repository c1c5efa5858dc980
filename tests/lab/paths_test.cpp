#include "machine/paths.h"

#include <gtest/gtest.h>

#include "machine/machine.h"
#include "support/lab_instance.h"

namespace Lab {
namespace {

namespace fs = std::filesystem;

class Paths : public testing::Test {
 protected:
  Paths() { instance_.Set("/program/currentDirectory", "C:\\Work"); }
  fs::path Drive() const { return instance_.Folder() / "drive_c"; }
  DWORD Error(std::wstring_view path) const { return FindPath(path).error; }
  Instance instance_;
};

TEST_F(Paths, FullPathIsAbsoluteAndPlain) {
  EXPECT_EQ(FullPath(L"c:/a//b/./c\\..\\d"), L"C:\\a\\b\\d");
  EXPECT_EQ(FullPath(L"C:\\..\\.."), L"C:\\");
  EXPECT_EQ(FullPath(L"C:\\a\\"), L"C:\\a\\");
  EXPECT_EQ(FullPath(L"\\a"), L"C:\\a");
  EXPECT_EQ(FullPath(L"a"), L"C:\\Work\\a");
  EXPECT_EQ(FullPath(L"c:a"), L"C:\\Work\\a");
  EXPECT_EQ(FullPath(L"d:a"), L"D:\\a");
  EXPECT_EQ(FullPath(L"C:\\a. .\\b "), L"C:\\a\\b");
  EXPECT_EQ(FullPath(L"\\\\?\\C:\\a"), L"C:\\a");
  EXPECT_EQ(FullPath(L"\\\\server\\share"), L"\\\\server\\share");
}

TEST_F(Paths, NamesAreFoundInAnyCase) {
  instance_.WriteFile(L"C:\\Work\\\u00C4pfel \U0001D4BD\\Text.TXT", "x");
  const FoundPath found = FindPath(L"c:\\WORK/\u00E4PFEL \U0001D4BD\\text.txt");
  EXPECT_EQ(found.error, 0u);
  EXPECT_EQ(found.host, Drive() / "Work" / "\xC3\x84pfel \xF0\x9D\x92\xBD" / "Text.TXT");
}

TEST_F(Paths, MissingLastPartTellsWhereItWouldBeMade) {
  instance_.MakeFolder(L"C:\\Work");
  const FoundPath found = FindPath(L"New.txt");
  EXPECT_EQ(found.error, 2u);
  EXPECT_EQ(found.host, Drive() / "Work" / "New.txt");
}

TEST_F(Paths, WhatIsWrongHasItsCode) {
  instance_.WriteFile(L"C:\\Work\\file", "x");
  EXPECT_EQ(Error(L""), 3u);
  EXPECT_EQ(Error(L"C:\\nowhere\\x"), 3u);
  EXPECT_EQ(Error(L"C:\\Work\\file\\x"), 3u);
  EXPECT_EQ(Error(L"Q:\\x"), 3u);
  EXPECT_EQ(Error(L"\\\\server\\share"), 53u);
  EXPECT_EQ(Error(L"C:\\Work\\a*"), 123u);
  EXPECT_EQ(Error(L"C:\\Work\\a\tb"), 123u);
  EXPECT_EQ(Error(L"C:\\Work\\file:stream"), 123u);
  EXPECT_EQ(Error(L"C:\\Work\\file\\"), 123u);
  EXPECT_EQ(Error(L"C:\\Work\\"), 0u);
  EXPECT_EQ(Error(L"C:\\"), 0u);
}

TEST_F(Paths, LongestPathHas259Characters) {
  const std::wstring longest = L"C:\\" + std::wstring(256, L'x');
  EXPECT_EQ(Error(longest), 2u);
  EXPECT_EQ(Error(longest + L"x"), 3u);
}

TEST_F(Paths, OtherDrivesAreFoldersOfTheInstance) {
  fs::create_directories(instance_.Folder() / "drive_e" / "Data");
  EXPECT_EQ(FindPath(L"E:\\data").host, instance_.Folder() / "drive_e" / "Data");
}

TEST_F(Paths, HostPathThrowsForWhatCantBe) {
  EXPECT_EQ(HostPath(L"C:\\new"), Drive() / "new");
  EXPECT_THROW(HostPath(L"C:\\no\\new"), fs::filesystem_error);
}

TEST_F(Paths, WindowsPathIsTheWayBack) {
  EXPECT_EQ(WindowsPath(Drive() / "Work" / "a b"), L"C:\\Work\\a b");
  EXPECT_EQ(WindowsPath(Drive()), L"C:\\");
  EXPECT_EQ(WindowsPath(Drive() / "x" / ".." / "y"), L"C:\\y");
  EXPECT_EQ(WindowsPath(instance_.Folder() / "machine.json"), L"");
  EXPECT_EQ(WindowsPath("/"), L"");
}

}  // namespace
}  // namespace Lab
