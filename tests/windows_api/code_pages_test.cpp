#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "scratch_folder.h"
#include "support.h"

namespace {

using WindowsApi::kSpoiled;
using WindowsApi::LastError;
using WindowsApi::SpoilLastError;

std::wstring ToWide(std::string_view utf8, DWORD flags = 0) {
  wchar_t buffer[64] = {};
  const int size =
      MultiByteToWideChar(CP_UTF8, flags, utf8.data(), static_cast<int>(utf8.size()), buffer, 64);
  return {buffer, static_cast<std::size_t>(size)};
}

std::string ToUtf8(std::wstring_view wide, DWORD flags = 0) {
  char buffer[64] = {};
  const int size = WideCharToMultiByte(CP_UTF8, flags, wide.data(), static_cast<int>(wide.size()),
                                       buffer, 64, nullptr, nullptr);
  return {buffer, static_cast<std::size_t>(size)};
}

TEST(CodePages, TextGoesThereAndBack) {
  const std::wstring wide = L"a\u00E4\u8A66\U0001D4BD";
  EXPECT_EQ(ToUtf8(wide), "a\xC3\xA4\xE8\xA9\xA6\xF0\x9D\x92\xBD");
  EXPECT_EQ(ToWide("a\xC3\xA4\xE8\xA9\xA6\xF0\x9D\x92\xBD"), wide);
}

TEST(CodePages, TheLastOfAsciiTakesOneByte) {
  EXPECT_EQ(ToUtf8(L"a\u007F"), "a\x7F");
  EXPECT_EQ(ToUtf8(L"a\u0080"), "a\xC2\x80");
  EXPECT_EQ(ToWide("a\x7F"), L"a\u007F");
  EXPECT_EQ(ToWide("a\xC2\x80"), L"a\u0080");
}

TEST(CodePages, EmptyTextIsAnError) {
  SpoilLastError();
  EXPECT_EQ(ToWide(""), L"");
  EXPECT_EQ(LastError(), 87u);
  SpoilLastError();
  EXPECT_EQ(ToUtf8(L""), "");
  EXPECT_EQ(LastError(), 87u);
}

TEST(CodePages, WithoutASizeTheTerminatorCounts) {
  char buffer[8] = "#######";
  EXPECT_EQ(WideCharToMultiByte(CP_UTF8, 0, L"ab", -1, buffer, 8, nullptr, nullptr), 3);
  EXPECT_STREQ(buffer, "ab");
  wchar_t wide[8] = L"#######";
  EXPECT_EQ(MultiByteToWideChar(CP_UTF8, 0, "ab", -1, wide, 8), 3);
  EXPECT_STREQ(wide, L"ab");
}

TEST(CodePages, NoRoomAsksForTheSize) {
  SpoilLastError();
  EXPECT_EQ(WideCharToMultiByte(CP_UTF8, 0, L"\u8A66b", 2, nullptr, 0, nullptr, nullptr), 4);
  EXPECT_EQ(MultiByteToWideChar(CP_UTF8, 0,
                                "\xE8\xA9\xA6"
                                "b",
                                4, nullptr, 0),
            2);
  EXPECT_EQ(LastError(), kSpoiled);
}

TEST(CodePages, TooLittleRoomIsAnError) {
  char buffer[3] = {};
  EXPECT_EQ(WideCharToMultiByte(CP_UTF8, 0, L"abcd", 4, buffer, 3, nullptr, nullptr), 0);
  EXPECT_EQ(LastError(), 122u);
  wchar_t wide[3] = {};
  SpoilLastError();
  EXPECT_EQ(MultiByteToWideChar(CP_UTF8, 0, "abcd", 4, wide, 3), 0);
  EXPECT_EQ(LastError(), 122u);
}

TEST(CodePages, DefaultCharacterIsRefused) {
  SKIP_ON_WINE("WideCharToMultiByte takes a default character for UTF-8 and doesn't use it");
  char buffer[8] = {};
  SpoilLastError();
  EXPECT_EQ(WideCharToMultiByte(CP_UTF8, 0, L"a", 1, buffer, 8, "?", nullptr), 0);
  EXPECT_EQ(LastError(), 87u);
}

TEST(CodePages, BrokenBytesBecomeReplacementCharacters) {
  EXPECT_EQ(ToWide("\xFF"), L"\uFFFD");
  EXPECT_EQ(ToWide("\xE2\x82"), L"\uFFFD");
  EXPECT_EQ(ToWide("\xE2\x82"
                   "A"),
            L"\uFFFD"
            L"A");
  EXPECT_EQ(ToWide("\xC0\xAF"), L"\uFFFD\uFFFD");
  EXPECT_EQ(ToWide("\xF0\x9F\x98"), L"\uFFFD");
  EXPECT_EQ(ToWide("\x80\x80"), L"\uFFFD\uFFFD");
}

TEST(CodePages, BrokenBytesFailIfAskedTo) {
  SpoilLastError();
  EXPECT_EQ(ToWide("a\xFF", MB_ERR_INVALID_CHARS), L"");
  EXPECT_EQ(LastError(), 1113u);
  EXPECT_EQ(ToWide("a\xC3\xA4", MB_ERR_INVALID_CHARS), L"a\u00E4");
}

TEST(CodePages, LoneSurrogates) {
  const std::wstring lone(1, static_cast<wchar_t>(0xD83D));
  EXPECT_EQ(ToUtf8(lone), "\xEF\xBF\xBD");
  SpoilLastError();
  EXPECT_EQ(ToUtf8(lone, WC_ERR_INVALID_CHARS), "");
  EXPECT_EQ(LastError(), 1113u);
}

}  // namespace
