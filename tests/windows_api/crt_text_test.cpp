#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <cwctype>
#include <memory>
#include <string>

#include "host/windows_api.h"

namespace {

TEST(CopyText, FitsWithItsTerminator) {
  wchar_t target[5] = {};
  EXPECT_EQ(wcscpy_s(target, 5, L"abcd"), 0);
  EXPECT_STREQ(target, L"abcd");
}

TEST(CopyText, OverflowEmptiesTheTarget) {
  wchar_t target[5] = L"####";
  EXPECT_EQ(wcscpy_s(target, 5, L"abcde"), ERANGE);
  EXPECT_EQ(target[0], 0);
}

TEST(CopyText, NoSourceEmptiesTheTarget) {
  wchar_t target[5] = L"####";
  EXPECT_EQ(wcscpy_s(target, 5, nullptr), EINVAL);
  EXPECT_EQ(target[0], 0);
}

TEST(CopyText, NoRoomLeavesTheTargetAlone) {
  wchar_t target[5] = L"####";
  EXPECT_EQ(wcscpy_s(target, 0, L"a"), EINVAL);
  EXPECT_STREQ(target, L"####");
}

TEST(DuplicateText, IsACopyForFree) {
  const wchar_t source[] = L"\u6771\u4eac";
  const std::unique_ptr<wchar_t, decltype(&std::free)> copy(_wcsdup(source), &std::free);
  ASSERT_NE(copy, nullptr);
  EXPECT_NE(copy.get(), source);
  EXPECT_STREQ(copy.get(), source);
}

struct NumberCase {
  const wchar_t* text;
  double value;
};
class TextToDouble : public testing::TestWithParam<NumberCase> {};
TEST_P(TextToDouble, StopsAtTheFirstOddCharacter) {
  EXPECT_DOUBLE_EQ(_wtof(GetParam().text), GetParam().value);
}
constexpr NumberCase kDoubles[] = {
    {L"6.0.0", 6}, {L"5,5", 5}, {L" \t5.5", 5.5}, {L"1e2", 100},    {L"1d2", 100},
    {L"0x10", 0},  {L"inf", 0}, {L"nan", 0},      {L".5", 0.5},     {L"-.5e1", -5},
    {L"e5", 0},    {L"", 0},    {L"1e", 1},       {L"1e+", 1},      {L"+3", 3},
    {L"--3", 0},   {L"5.", 5},  {L".", 0},        {L"7.0 beta", 7}, {L"\uFF11", 0},
};
INSTANTIATE_TEST_SUITE_P(Texts, TextToDouble, testing::ValuesIn(kDoubles));

struct IntegerCase {
  const wchar_t* text;
  int value;
};
class TextToInteger : public testing::TestWithParam<IntegerCase> {};
TEST_P(TextToInteger, StopsAtTheFirstOddCharacter) {
  EXPECT_EQ(_wtoi(GetParam().text), GetParam().value);
}
constexpr IntegerCase kIntegers[] = {
    {L"  12", 12},
    {L"-5x", -5},
    {L"+7", 7},
    {L"0x10", 0},
    {L"1e2", 1},
    {L"", 0},
    {L"abc", 0},
    {L"- 5", 0},
    {L"2147483647", 2147483647},
    // Beyond the range the nearest number there is.
    {L"2147483648", 2147483647},
    {L"99999999999999999999", 2147483647},
    {L"-99999999999", -2147483647 - 1},
};
INSTANTIATE_TEST_SUITE_P(Texts, TextToInteger, testing::ValuesIn(kIntegers));

TEST(CompareText, FoldsAsciiLettersAlone) {
  EXPECT_EQ(_wcsicmp(L"Tiny", L"tINY"), 0);
  EXPECT_NE(_wcsicmp(L"\u00C4", L"\u00E4"), 0);
}

TEST(CompareText, OrdersByFoldedCharacters) {
  EXPECT_LT(_wcsicmp(L"abc", L"ABD"), 0);
  EXPECT_GT(_wcsicmp(L"b", L"A"), 0);
  EXPECT_LT(_wcsicmp(L"ab", L"ABC"), 0);
  // Letters count as small ones, so the underscore comes before them.
  EXPECT_LT(_wcsicmp(L"_", L"A"), 0);
}

TEST(CompareText, NarrowTextIsComparedAlike) {
  EXPECT_EQ(_stricmp("0a:1B", "0A:1b"), 0);
  EXPECT_NE(_stricmp("\xC4", "\xE4"), 0);
  EXPECT_LT(_stricmp("abc", "ABD"), 0);
  EXPECT_LT(_stricmp("ab", "ABC"), 0);
  EXPECT_LT(_stricmp("_", "A"), 0);
}

TEST(CompareText, CountEndsTheComparison) {
  EXPECT_EQ(_wcsnicmp(L"abX", L"ABy", 2), 0);
  EXPECT_LT(_wcsnicmp(L"abX", L"ABy", 3), 0);
  EXPECT_EQ(_wcsnicmp(L"a", L"b", 0), 0);
}

TEST(UpperCase, LettersBeyondAsciiCount) {
  for (const wchar_t letter : {L'A', L'Z', L'\u00C4', L'\u00D6', L'\u00DE', L'\u0391', L'\u0410'}) {
    EXPECT_TRUE(std::iswupper(static_cast<std::wint_t>(letter))) << int{letter};
  }
}

TEST(UpperCase, OtherCharactersDoNot) {
  for (const wchar_t other : {L'a', L'_', L'0', L'\u00AA', L'\u00D7', L'\u00DF', L'\u00E4',
                              L'\u03B1', L'\u2160', L'\u24B6'}) {
    EXPECT_FALSE(std::iswupper(static_cast<std::wint_t>(other))) << int{other};
  }
}

TEST(Time, LocalTimeTakesTheFieldsFirst) {
  __time64_t now = 0;
  const __time64_t answered = _time64(&now);
  EXPECT_EQ(answered, now);
  EXPECT_GT(now, 1'600'000'000);
  std::tm fields = {};
  EXPECT_EQ(_localtime64_s(&fields, &now), 0);
  EXPECT_GE(fields.tm_year, 120);
}

TEST(Time, NegativeTimeIsRefused) {
  std::tm fields = {};
  const __time64_t before = -1;
  EXPECT_EQ(_localtime64_s(&fields, &before), EINVAL);
}

TEST(Time, FormattedTimeStamp) {
  std::tm fields = {};
  fields.tm_year = 126;
  fields.tm_mon = 0;
  fields.tm_mday = 31;
  fields.tm_hour = 12;
  wchar_t buffer[20] = {};
  EXPECT_EQ(std::wcsftime(buffer, 20, L"%Y%m%d%H%M%S", &fields), 14u);
  EXPECT_STREQ(buffer, L"20260131120000");
}

}  // namespace
