#include <gtest/gtest.h>

#include <cerrno>
#include <cstdarg>
#include <limits>
#include <string>

#include "host/windows_api.h"
#include "support.h"

namespace {

struct Formatted {
  int result;
  std::wstring text;

  bool operator==(const Formatted&) const = default;
};

void PrintTo(const Formatted& formatted, std::ostream* stream) {
  *stream << formatted.result << " \"";
  for (const wchar_t c : formatted.text) *stream << (c < 128 ? static_cast<char>(c) : '?');
  *stream << '"';
}

/// Formats as the log does, into a buffer that is large enough.
Formatted Format(const wchar_t* format, ...) {
  wchar_t buffer[512];
  std::wmemset(buffer, L'#', 512);
  va_list arguments;
  va_start(arguments, format);
  const int result = _vsnwprintf_s(buffer, 512, _TRUNCATE, format, arguments);
  va_end(arguments);
  return {result, buffer};
}

/// What a call that succeeds with this text answers.
Formatted Whole(std::wstring text) { return {static_cast<int>(text.size()), text}; }

TEST(FormatText, PlainSIsWide) {
  EXPECT_EQ(Format(L"[%s]", L"\u8A66\u9A13"), Whole(L"[\u8A66\u9A13]"));
}

TEST(FormatText, WsAndLsAreWide) {
  EXPECT_EQ(Format(L"%ws|%ls", L"\u00C4b", L"c"), Whole(L"\u00C4b|c"));
}

TEST(FormatText, HsAndCapitalSAreNarrow) {
  EXPECT_EQ(Format(L"%hs|%S|%hS", "14510545", "b", "c"), Whole(L"14510545|b|c"));
}

TEST(FormatText, NarrowBytesBecomeTheCharactersOfTheirNumbers) {
  EXPECT_EQ(Format(L"%hs", "\xC4\xE4"), Whole(L"\u00C4\u00E4"));
}

TEST(FormatText, NullPrintsAsNull) {
  const wchar_t* none = nullptr;
  const char* noneNarrow = nullptr;
  EXPECT_EQ(Format(L"%s|%hs|%.3s", none, noneNarrow, none), Whole(L"(null)|(null)|(nu"));
}

TEST(FormatText, WidthAndPrecision) {
  EXPECT_EQ(Format(L"%5s|%-5s|%.2s|%6.1s|%05s", L"ab", L"ab", L"abc", L"xy", L"q"),
            Whole(L"   ab|ab   |ab|     x|0000q"));
  EXPECT_EQ(Format(L"%*s|%-*s|%*s|%.*s|%.*s", 3, L"a", 3, L"b", -3, L"c", 1, L"de", -1, L"fg"),
            Whole(L"  a|b  |c  |d|fg"));
}

TEST(FormatText, PrecisionReadsNoFurther) {
  const wchar_t unterminated[] = {L'a', L'b'};
  EXPECT_EQ(Format(L"%.2s", unterminated), Whole(L"ab"));
}

TEST(FormatText, Characters) {
  EXPECT_EQ(Format(L"%c|%C|%hc|%lc|%3c|%-3c|", L'\u20AC', 'A', 'B', L'\u20AC', L'd', L'e'),
            Whole(L"\u20AC|A|B|\u20AC|  d|e  |"));
}

TEST(FormatNumber, LongHas32Bits) {
  EXPECT_EQ(Format(L"%d|%i|%ld|%lu|%u", -5, -6, LONG{-7}, DWORD{4000000000u}, 4000000000u),
            Whole(L"-5|-6|-7|4000000000|4000000000"));
}

TEST(FormatNumber, SixtyFourBits) {
  const long long low = std::numeric_limits<long long>::min();
  const unsigned long long high = std::numeric_limits<unsigned long long>::max();
  EXPECT_EQ(Format(L"%lld|%I64d", low, low), Whole(L"-9223372036854775808|-9223372036854775808"));
  EXPECT_EQ(Format(L"%llu|%I64u", high, high), Whole(L"18446744073709551615|18446744073709551615"));
  EXPECT_EQ(Format(L"%zu|%Iu", SIZE_MAX, SIZE_MAX),
            Whole(L"18446744073709551615|18446744073709551615"));
}

TEST(FormatNumber, ShortHasSixteenBits) {
  EXPECT_EQ(Format(L"%hd|%hu|%I32d", 70000, 70000, -9), Whole(L"4464|4464|-9"));
}

TEST(FormatNumber, HexadecimalAndOctal) {
  EXPECT_EQ(Format(L"%x|%X|%08x|%#x|%o|%llx", 255, 255, 0x80070002u, 16, 8, 0x123456789ABULL),
            Whole(L"ff|FF|80070002|0x10|10|123456789ab"));
}

TEST(FormatNumber, FlagsAndDigits) {
  EXPECT_EQ(Format(L"%+d|% d|%05d|%-4d|%.3d|%03d", 5, 5, -42, 7, 5, 7),
            Whole(L"+5| 5|-0042|7   |005|007"));
}

TEST(FormatNumber, DigitsThatAreWantedStandBetweenSignAndWidth) {
  EXPECT_EQ(Format(L"%6.3d|%-6.3d|%+.3d|%5.1d", -5, -5, 5, 123),
            Whole(L"  -005|-005  |+005|  123"));
  EXPECT_EQ(Format(L"[%.0d|%.0u|%3.0x|%+.0d]", 0, 0, 0, 0), Whole(L"[||   |+]"));
}

TEST(FormatNumber, PrecisionOverrulesTheFlagForZeros) {
  SKIP_ON_WINE("The C runtime fills the whole width with zeros");
  EXPECT_EQ(Format(L"%06.3d|%05.1x", 5, 0xABC), Whole(L"   005|  abc"));
}

TEST(FormatNumber, AlternateFormsTellTheBase) {
  EXPECT_EQ(Format(L"%#X|%#x|%#08x|%#.4x|%#o|%#.3o", 255, 0, 255, 255, 8, 8),
            Whole(L"0XFF|0|0x0000ff|0x00ff|010|010"));
}

TEST(FormatNumber, OnlySignedNumbersShowASign) {
  EXPECT_EQ(Format(L"%+u|% x|%+d|% d|%+ d", 5u, 5u, -5, -5, 5), Whole(L"5|5|-5|-5|+5"));
}

TEST(FormatNumber, PointersHaveAllTheirDigits) {
  EXPECT_EQ(Format(L"%p", reinterpret_cast<void*>(std::uintptr_t{0x1234ABCD})),
            Whole(L"000000001234ABCD"));
}

TEST(FormatNumber, FixedPoint) {
  EXPECT_EQ(Format(L"%f|%.2f|%8.3f|%-8.1f|%08.2f", 6.0, 1.25, 3.14159, 9.99, -1.5),
            Whole(L"6.000000|1.25|   3.142|10.0    |-0001.50"));
}

TEST(FormatNumber, FixedPointWithFlags) {
  EXPECT_EQ(Format(L"%+.1f|% .1f|%+08.1f|%-8.1f|%#.0f|%.0f", 2.5, 2.5, 2.5, -2.5, 3.0, -0.0),
            Whole(L"+2.5| 2.5|+00002.5|-2.5    |3.|-0"));
}

TEST(FormatNumber, InfiniteValuesLookLikeNumbers) {
  const double infinite = std::numeric_limits<double>::infinity();
  EXPECT_EQ(Format(L"%f|%f", infinite, -infinite), Whole(L"1.#INF00|-1.#INF00"));
}

TEST(Format, PercentSigns) { EXPECT_EQ(Format(L"100%%|%d%%", 5), Whole(L"100%|5%")); }

TEST(Format, UnknownConversionEndsTheText) {
  EXPECT_EQ(Format(L"ab%yc"), (Formatted{-1, L"ab"}));
  EXPECT_EQ(Format(L"ab%"), (Formatted{-1, L"ab"}));
}

TEST(Format, ArgumentsBehindOneAnotherStayInStep) {
  EXPECT_EQ(Format(L"%d %s %llu %hs %f %c %d", 1, L"two", 3ULL, "four", 5.0, L'6', 7),
            Whole(L"1 two 3 four 5.000000 6 7"));
}

/// A buffer of six characters, and what stands in it afterwards.
class ShortBuffer : public testing::Test {
 protected:
  ShortBuffer() { std::wmemset(buffer_, L'#', 6); }
  wchar_t buffer_[6];
};

TEST_F(ShortBuffer, TextThatFitsAnswersItsLength) {
  EXPECT_EQ(_snwprintf_s(buffer_, 6, _TRUNCATE, L"%s", L"abcde"), 5);
  EXPECT_STREQ(buffer_, L"abcde");
}

TEST_F(ShortBuffer, LongerTextIsCutAndAnswersMinusOne) {
  errno = 0;
  EXPECT_EQ(_snwprintf_s(buffer_, 6, _TRUNCATE, L"%s", L"abcdef"), -1);
  EXPECT_STREQ(buffer_, L"abcde");
  EXPECT_EQ(errno, 0);
}

TEST_F(ShortBuffer, WhateverReachesTheEndIsCutThere) {
  EXPECT_EQ(_snwprintf_s(buffer_, 6, _TRUNCATE, L"ab%hs", "cdef"), -1);
  EXPECT_STREQ(buffer_, L"abcde");
  EXPECT_EQ(_snwprintf_s(buffer_, 6, _TRUNCATE, L"a%9d", 1), -1);
  EXPECT_STREQ(buffer_, L"a    ");
  EXPECT_EQ(_snwprintf_s(buffer_, 6, _TRUNCATE, L"ab%d", 1234), -1);
  EXPECT_STREQ(buffer_, L"ab123");
  EXPECT_EQ(_snwprintf_s(buffer_, 6, _TRUNCATE, L"abcdefg%s", L"h"), -1);
  EXPECT_STREQ(buffer_, L"abcde");
}

TEST_F(ShortBuffer, EmptyTextAnswersZero) {
  EXPECT_EQ(_snwprintf_s(buffer_, 6, _TRUNCATE, L"%s", L""), 0);
  EXPECT_STREQ(buffer_, L"");
}

TEST_F(ShortBuffer, CountCutsEarlier) {
  EXPECT_EQ(_snwprintf_s(buffer_, 6, 3, L"%s", L"abcd"), -1);
  EXPECT_STREQ(buffer_, L"abc");
  EXPECT_EQ(_snwprintf_s(buffer_, 6, 3, L"%s", L"abc"), 3);
}

TEST_F(ShortBuffer, CountBeyondTheBufferEmptiesIt) {
  errno = 0;
  EXPECT_EQ(_snwprintf_s(buffer_, 6, 9, L"%s", L"abcdefgh"), -1);
  EXPECT_STREQ(buffer_, L"");
  EXPECT_EQ(errno, ERANGE);
}

}  // namespace
