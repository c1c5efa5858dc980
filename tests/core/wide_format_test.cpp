#include "core/wide_format.h"

#include <string>

#include <gtest/gtest.h>

#include "core/format_into.h"

namespace Halvard {
namespace {

using Wide = const wchar_t*;
using Narrow = const char*;

TEST(FormatFits, TextWantsTextOfItsWidth) {
  EXPECT_TRUE((FormatFits<Wide, wchar_t*, Wide>(L"%s, \"%ws\" and %ls")));
  EXPECT_TRUE((FormatFits<Narrow, char*>(L"%hs %hs")));
  EXPECT_FALSE((FormatFits<Narrow>(L"%s")));
  EXPECT_FALSE((FormatFits<Wide>(L"%hs")));
  EXPECT_FALSE((FormatFits<int>(L"%s")));
  EXPECT_FALSE((FormatFits<std::wstring>(L"%s")));
}

TEST(FormatFits, NumberWantsANumberOfItsSize) {
  EXPECT_TRUE((FormatFits<int, unsigned int, bool>(L"%d %u %i")));
  EXPECT_TRUE((FormatFits<unsigned short, wchar_t>(L"%hu %c")));
  EXPECT_TRUE((FormatFits<unsigned long long, std::size_t, long long>(L"%llu %zu %I64d")));
  EXPECT_TRUE((FormatFits<double>(L"%.2f")));
  EXPECT_FALSE((FormatFits<unsigned long long>(L"%u")));
  EXPECT_FALSE((FormatFits<int>(L"%llu")));
  EXPECT_FALSE((FormatFits<int>(L"%f")));
  EXPECT_FALSE((FormatFits<Wide>(L"%d")));
}

enum Plain { kPlain };
enum class Strict { kStrict };

TEST(FormatFits, NamesOfAPlainEnumerationAreNumbers) {
  EXPECT_TRUE((FormatFits<Plain>(L"%d")));
  EXPECT_FALSE((FormatFits<Strict>(L"%d")));
  EXPECT_FALSE((FormatFits<Plain>(L"%s")));
}

// A long has 32 bits on Windows, whatever it has here.
TEST(FormatFits, LongConversionTakes32Bits) {
  EXPECT_TRUE((FormatFits<int, unsigned int>(L"%ld %lx")));
  EXPECT_FALSE((FormatFits<long long>(L"%ld")));
}

TEST(FormatFits, EachConversionHasOneArgumentInItsPlace) {
  EXPECT_TRUE((FormatFits<>(L"nothing")));
  EXPECT_TRUE((FormatFits<>(L"100%% of it")));
  EXPECT_FALSE((FormatFits<>(L"%s")));
  EXPECT_FALSE((FormatFits<int>(L"nothing")));
  EXPECT_FALSE((FormatFits<int>(L"%%d")));
  EXPECT_FALSE((FormatFits<int, Wide>(L"%s %d")));
  EXPECT_FALSE((FormatFits<Wide>(L"%s %s")));
}

TEST(FormatFits, WhatWindowsDoesNotPrintIsRefused) {
  EXPECT_FALSE((FormatFits<int>(L"%y")));
  EXPECT_FALSE((FormatFits<int>(L"%")));
  EXPECT_FALSE((FormatFits<int>(L"50 % of it")));
  EXPECT_FALSE((FormatFits<int, int>(L"%*d")));
  EXPECT_FALSE((FormatFits<int>(L"%wd")));
}

TEST(FormatFits, FlagsAndWidthsBelongToTheConversion) {
  EXPECT_TRUE((FormatFits<int, int, unsigned int, Wide>(L"%04d|%-3d|%#08x|%.5s")));
}

TEST(FormatInto, CutsATextThatDoesNotFit) {
  wchar_t buffer[6] = {};
  EXPECT_EQ(FormatInto(buffer, L"%s-%d", L"ab", 12), 5);
  EXPECT_STREQ(buffer, L"ab-12");
  EXPECT_LT(FormatInto(buffer, L"%s-%d", L"abc", 12), 0);
  EXPECT_STREQ(buffer, L"abc-1");
}

}  // namespace
}  // namespace Halvard
