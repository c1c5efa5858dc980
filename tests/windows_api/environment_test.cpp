#include <cwchar>

#include "support.h"

namespace {

constexpr wchar_t kMissing[] = L"HALVARD_NO_SUCH_VARIABLE";

std::wstring WindowsFolder() {
  wchar_t buffer[260] = {};
  EXPECT_NE(GetEnvironmentVariableW(L"windir", buffer, 260), 0u);
  return buffer;
}

TEST(GetEnvironmentVariableW, AnswersTheLengthWithoutTerminator) {
  wchar_t buffer[260] = {};
  const DWORD length = GetEnvironmentVariableW(L"windir", buffer, 260);
  EXPECT_EQ(length, std::wcslen(buffer));
  EXPECT_GT(length, 3u);
}

TEST(GetEnvironmentVariableW, NamesIgnoreCase) {
  wchar_t buffer[260] = {};
  EXPECT_NE(GetEnvironmentVariableW(L"WINDIR", buffer, 260), 0u);
  EXPECT_EQ(buffer, WindowsFolder());
}

TEST(GetEnvironmentVariableW, ShortBufferStaysAndTheLengthCountsTheTerminator) {
  const std::wstring value = WindowsFolder();
  wchar_t buffer[260] = {L'?'};
  SetLastError(4711);
  EXPECT_EQ(GetEnvironmentVariableW(L"windir", buffer, static_cast<DWORD>(value.size())),
            value.size() + 1);
  EXPECT_EQ(buffer[0], L'?');
  EXPECT_EQ(GetEnvironmentVariableW(L"windir", nullptr, 0), value.size() + 1);
  EXPECT_EQ(GetLastError(), 4711u);
}

TEST(GetEnvironmentVariableW, MissingHasACodeAndLeavesTheBuffer) {
  wchar_t buffer[8] = {L'?'};
  SetLastError(0);
  EXPECT_EQ(GetEnvironmentVariableW(kMissing, buffer, 8), 0u);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_ENVVAR_NOT_FOUND});
  EXPECT_EQ(buffer[0], L'?');
}

TEST(ExpandEnvironmentStringsForUserW, PutsSystemVariablesInPlace) {
  wchar_t buffer[260] = {};
  EXPECT_NE(ExpandEnvironmentStringsForUserW(nullptr, L"a%windir%b%SystemRoot%", buffer, 260), 0);
  EXPECT_EQ(buffer, L"a" + WindowsFolder() + L"b" + WindowsFolder());
}

TEST(ExpandEnvironmentStringsForUserW, UnknownVariableStaysAsText) {
  wchar_t buffer[260] = {};
  const std::wstring text = std::wstring(L"a%") + kMissing + L"%b%windir%";
  EXPECT_NE(ExpandEnvironmentStringsForUserW(nullptr, text.c_str(), buffer, 260), 0);
  EXPECT_EQ(buffer, std::wstring(L"a%") + kMissing + L"%b" + WindowsFolder());
}

TEST(ExpandEnvironmentStringsForUserW, TooLongATextFails) {
  SKIP_ON_WINE("Wine 8 answers success with a text that is cut");
  wchar_t buffer[4] = {};
  EXPECT_EQ(ExpandEnvironmentStringsForUserW(nullptr, L"%windir%", buffer, 4), 0);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_INSUFFICIENT_BUFFER});
}

TEST(ExpandEnvironmentStringsForUserW, VariablesOfTheProcessAreUnknown) {
  SKIP_ON_WINE("Wine 8 expands from the environment of the process");
  wchar_t buffer[260] = {};
  EXPECT_NE(ExpandEnvironmentStringsForUserW(nullptr, L"%USERPROFILE%", buffer, 260), 0);
  EXPECT_STREQ(buffer, L"%USERPROFILE%");
}

}  // namespace
