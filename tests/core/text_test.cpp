#include "core/text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Halvard {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(Text, EmptyStaysEmpty) {
  EXPECT_EQ(WideToUtf8(L""), "");
  EXPECT_EQ(Utf8ToWide(""), L"");
}

TEST(Text, GoesToUtf8AndBack) {
  const std::wstring wide = L"Zürich \u6771\u4eac \U0001F511";
  EXPECT_EQ(WideToUtf8(wide), "Z\xC3\xBCrich \xE6\x9D\xB1\xE4\xBA\xAC \xF0\x9F\x94\x91");
  EXPECT_EQ(Utf8ToWide(WideToUtf8(wide)), wide);
}

TEST(Text, WhatIsNoCharacterBecomesTheReplacementCharacter) {
  EXPECT_EQ(Utf8ToWide("a\xFF"
                       "b"),
            L"a\uFFFD"
            L"b");
  EXPECT_EQ(WideToUtf8(std::wstring(1, static_cast<wchar_t>(0xD800))), "\xEF\xBF\xBD");
}

TEST(Text, KeepsZeroCharacters) {
  const std::wstring wide(L"a\0b", 3);
  EXPECT_EQ(WideToUtf8(wide), std::string("a\0b", 3));
  EXPECT_EQ(Utf8ToWide(std::string("a\0b", 3)), wide);
}

TEST(SplitString, DropsEmptyPieces) {
  EXPECT_THAT(SplitString(L",,a,,b,", L','), ElementsAre(L"a", L"b"));
  EXPECT_THAT(SplitString(L"", L','), IsEmpty());
  EXPECT_THAT(SplitString(L",", L','), IsEmpty());
}

TEST(SplitString, SeparatesAtItsOwnCharacterAlone) {
  EXPECT_THAT(SplitString(L"a b,\tc", L','), ElementsAre(L"a b", L"\tc"));
}

TEST(JoinStrings, KeepsOrderAndEmptyTexts) {
  EXPECT_EQ(JoinStrings({L"b", L"", L"a"}, L", "), L"b, , a");
  EXPECT_EQ(JoinStrings({L"b"}, L", "), L"b");
  EXPECT_EQ(JoinStrings({}, L", "), L"");
}

TEST(Text, SplitsIntoAnOrderedSet) {
  EXPECT_THAT(SplitToSet(L",b,,\u00e4,B,a b,b,", L','), ElementsAre(L"B", L"a b", L"b", L"\u00e4"));
  EXPECT_THAT(SplitToSet(L"", L','), IsEmpty());
  EXPECT_THAT(SplitToSet(L",,", L','), IsEmpty());
}

TEST(Text, JoinsASetInItsOrder) {
  EXPECT_EQ(JoinSet({L"b", L"a", L"B"}, L", "), L"B, a, b");
  EXPECT_EQ(JoinSet({L"a"}, L","), L"a");
  EXPECT_EQ(JoinSet({}, L","), L"");
}

}  // namespace
}  // namespace Halvard
