#include "machine/text.h"

#include <gtest/gtest.h>

#include "machine/utf16.h"

namespace Lab {
namespace {

TEST(Utf8, EveryLengthOfACharacterComesBack) {
  const std::wstring text = L"a\u00E9\u8A66\U0001D4BD";
  EXPECT_EQ(ToUtf8(text), "a\xC3\xA9\xE8\xA9\xA6\xF0\x9D\x92\xBD");
  EXPECT_EQ(ToWide(ToUtf8(text)), text);
}

TEST(Utf8, EachBadByteIsReplaced) {
  EXPECT_EQ(ToWide("a\xFFz"), L"a\uFFFDz");
  EXPECT_EQ(ToWide("\xC0\x80"), L"\uFFFD\uFFFD");            // Longer than need be.
  EXPECT_EQ(ToWide("\xE2\x82"), L"\uFFFD\uFFFD");            // Cut off.
  EXPECT_EQ(ToWide("\xED\xA0\x80"), L"\uFFFD\uFFFD\uFFFD");  // A surrogate.
  EXPECT_EQ(ToWide("\xF4\x90\x80\x80").size(), 4u);          // Beyond the last character.
}

TEST(Utf8, SurrogateIsReplaced) {
  EXPECT_EQ(ToUtf8(std::wstring(1, wchar_t{0xD800})), "\xEF\xBF\xBD");
}

TEST(Case, IsThatOfAllLetters) {
  EXPECT_TRUE(EqualNoCase(L"\u00C4pfel Stra\u00DFe", L"\u00E4PFEL STRA\u00DFE"));
  EXPECT_TRUE(EqualNoCase(L"\u0394\u0416", L"\u03B4\u0436"));
  EXPECT_FALSE(EqualNoCase(L"a", L"ab"));
  EXPECT_FALSE(EqualNoCase(L"a", L"b"));
  EXPECT_EQ(FoldCase(L"Temp\u00E9"), L"TEMP\u00C9");
}

TEST(Utf16, PairsBecomeOneCharacterAndLoneHalvesStay) {
  const std::wstring text = L"a\U0001D4BDz";
  EXPECT_EQ(DecodeUtf16(EncodeUtf16(text)), text);
  EXPECT_EQ(EncodeUtf16(L"\U0001D4BD"), (std::vector<std::uint8_t>{0x35, 0xD8, 0xBD, 0xDC}));
  EXPECT_EQ(DecodeUtf16({0x35, 0xD8, 'z', 0}), std::wstring({wchar_t{0xD835}, L'z'}));
}

}  // namespace
}  // namespace Lab
