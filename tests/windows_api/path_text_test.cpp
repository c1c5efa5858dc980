#include <gtest/gtest.h>

#include <string>

#include "scratch_folder.h"
#include "support.h"

namespace {

/// A path in a buffer of the size that the functions want.
struct PathBuffer {
  explicit PathBuffer(const std::wstring& path) { path.copy(text, MAX_PATH - 1); }
  wchar_t text[MAX_PATH] = {};
};

TEST(AddBackslash, AppendsOneAndAnswersTheNewEnd) {
  PathBuffer path(L"C:\\a");
  EXPECT_EQ(PathAddBackslashW(path.text), path.text + 5);
  EXPECT_STREQ(path.text, L"C:\\a\\");
}

TEST(AddBackslash, OneIsEnough) {
  PathBuffer path(L"C:\\a\\");
  EXPECT_EQ(PathAddBackslashW(path.text), path.text + 5);
  EXPECT_STREQ(path.text, L"C:\\a\\");
}

TEST(AddBackslash, EmptyStaysEmpty) {
  PathBuffer path(L"");
  EXPECT_EQ(PathAddBackslashW(path.text), path.text);
  EXPECT_STREQ(path.text, L"");
}

TEST(AddBackslash, FillsTheBuffer) {
  PathBuffer path(L"C:\\" + std::wstring(255, L'a'));
  EXPECT_EQ(PathAddBackslashW(path.text), path.text + 259);
}

TEST(AddBackslash, NoRoom) {
  SKIP_ON_WINE("PathAddBackslashW writes past a buffer of 260 characters");
  PathBuffer path(L"C:\\" + std::wstring(256, L'a'));
  EXPECT_EQ(PathAddBackslashW(path.text), nullptr);
}

struct RemovalCase {
  const wchar_t* path;
  BOOL removed;
  const wchar_t* left;
};
class RemoveFileSpec : public testing::TestWithParam<RemovalCase> {};
TEST_P(RemoveFileSpec, CutsTheLastPart) {
  PathBuffer path(GetParam().path);
  EXPECT_EQ(PathRemoveFileSpecW(path.text), GetParam().removed);
  EXPECT_STREQ(path.text, GetParam().left);
}
constexpr RemovalCase kRemovals[] = {
    {L"C:\\a\\2", TRUE, L"C:\\a"},
    {L"C:\\2", TRUE, L"C:\\"},
    {L"C:\\a\\", TRUE, L"C:\\a"},
    {L"C:\\", FALSE, L"C:\\"},
    {L"2", TRUE, L""},
    {L"", FALSE, L""},
    {L"\\\\s\\h\\2", TRUE, L"\\\\s\\h"},
    {L"\\\\s\\h", TRUE, L"\\\\s"},
    {L"\\\\s", TRUE, L"\\\\"},
    {L"\\\\", FALSE, L"\\\\"},
    {L"\\2", TRUE, L"\\"},
    {L"C:", FALSE, L"C:"},
    {L"C:2", TRUE, L"C:"},
    {L"a\\b", TRUE, L"a"},
};
INSTANTIATE_TEST_SUITE_P(Paths, RemoveFileSpec, testing::ValuesIn(kRemovals));

struct AppendCase {
  const wchar_t* path;
  const wchar_t* more;
  const wchar_t* joined;
};
class JoinPath : public testing::TestWithParam<AppendCase> {};
TEST_P(JoinPath, JoinsAndCanonicalises) {
  PathBuffer path(GetParam().path);
  EXPECT_TRUE(PathAppendW(path.text, GetParam().more));
  EXPECT_STREQ(path.text, GetParam().joined);
}
constexpr AppendCase kAppends[] = {
    {L"C:\\a", L"b", L"C:\\a\\b"},
    {L"C:\\a\\", L"b", L"C:\\a\\b"},
    {L"C:\\a", L"\\b", L"C:\\a\\b"},
    {L"C:\\a", L"D:\\b", L"D:\\b"},
    {L"C:\\a", L"..\\b", L"C:\\b"},
    {L"C:\\a", L"..", L"C:\\"},
    {L"C:\\", L"..", L"C:\\"},
    {L"C:\\a", L"", L"C:\\a"},
    {L"", L"b", L"b"},
    {L"C:\\a\\.", L"b", L"C:\\a\\b"},
    {L"C:\\a", L"b\\", L"C:\\a\\b\\"},
    {L"C:\\a", L"b\\..", L"C:\\a"},
    {L"\\\\s\\h\\x", L"..", L"\\\\s\\h"},
};
INSTANTIATE_TEST_SUITE_P(Paths, JoinPath, testing::ValuesIn(kAppends));

TEST(JoinPathLimit, LongestPathHas259Characters) {
  PathBuffer path(L"C:\\" + std::wstring(250, L'a'));
  EXPECT_TRUE(PathAppendW(path.text, L"12345"));
  EXPECT_EQ(std::wcslen(path.text), 259u);
}

TEST(JoinPathLimit, LongerOnesEmptyTheBuffer) {
  PathBuffer path(L"C:\\" + std::wstring(250, L'a'));
  EXPECT_FALSE(PathAppendW(path.text, L"123456"));
  EXPECT_STREQ(path.text, L"");
}

TEST(PathExists, FilesAndFoldersButNoPatterns) {
  const WindowsApi::ScratchFolder scratch;
  EXPECT_TRUE(PathFileExistsW(scratch.Path().c_str()));
  EXPECT_TRUE(PathFileExistsW(scratch.Write(L"file").c_str()));
  EXPECT_FALSE(PathFileExistsW(scratch.In(L"*").c_str()));
  EXPECT_FALSE(PathFileExistsW(L""));
  EXPECT_FALSE(PathFileExistsW(nullptr));
}

TEST(PathExists, LeavesTheReasonInTheLastError) {
  const WindowsApi::ScratchFolder scratch;
  EXPECT_FALSE(PathFileExistsW(scratch.In(L"missing").c_str()));
  EXPECT_EQ(WindowsApi::LastError(), 2u);
  EXPECT_FALSE(PathFileExistsW(scratch.In(L"missing\\x").c_str()));
  EXPECT_EQ(WindowsApi::LastError(), 3u);
}

}  // namespace
