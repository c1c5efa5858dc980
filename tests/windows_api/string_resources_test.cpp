#include <thread>

#include "support.h"

namespace {

constexpr UINT kInitializing = 1014;
constexpr wchar_t kEnglish[] = L"Initializing Halvard...";
constexpr LANGID kEnglishId = 1033, kGermanId = 1031, kUnknownId = 1049;

std::wstring Load(UINT id) {
  wchar_t buffer[2048];
  const int length = LoadStringW(nullptr, id, buffer, 2048);
  return {buffer, static_cast<std::size_t>(length)};
}

TEST(LoadStringW, AnswersTheLengthWithoutTerminator) {
  SetThreadUILanguage(kEnglishId);
  wchar_t buffer[64] = {};
  EXPECT_EQ(LoadStringW(nullptr, kInitializing, buffer, 64), 23);
  EXPECT_STREQ(buffer, kEnglish);
}

TEST(LoadStringW, CutsToTheBuffer) {
  SetThreadUILanguage(kEnglishId);
  wchar_t buffer[8] = {};
  EXPECT_EQ(LoadStringW(nullptr, kInitializing, buffer, 8), 7);
  EXPECT_STREQ(buffer, L"Initial");
}

TEST(LoadStringW, MissingBlockHasACode) {
  wchar_t buffer[8] = {};
  SetLastError(0);
  EXPECT_EQ(LoadStringW(nullptr, 30000, buffer, 8), 0);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_RESOURCE_NAME_NOT_FOUND});
}

TEST(LoadStringW, MissingIdInABlockHasNone) {
  wchar_t buffer[8] = {};
  SetLastError(4711);
  EXPECT_EQ(LoadStringW(nullptr, 1219, buffer, 8), 0);
  EXPECT_EQ(GetLastError(), 4711u);
}

TEST(LoadStringW, FollowsTheLanguageOfTheThread) {
  SKIP_ON_WINE("SetThreadUILanguage of Wine 8 changes nothing");
  EXPECT_EQ(SetThreadUILanguage(kGermanId), kGermanId);
  const std::wstring german = Load(kInitializing);
  EXPECT_NE(german, kEnglish);
  EXPECT_FALSE(german.empty());
  SetThreadUILanguage(kEnglishId);
  EXPECT_EQ(Load(kInitializing), kEnglish);
}

TEST(LoadStringW, BothIdsOfSpanishAreOneLanguage) {
  SKIP_ON_WINE("SetThreadUILanguage of Wine 8 changes nothing");
  SetThreadUILanguage(1034);
  const std::wstring spanish = Load(kInitializing);
  EXPECT_NE(spanish, kEnglish);
  SetThreadUILanguage(3082);
  EXPECT_EQ(Load(kInitializing), spanish);
}

TEST(LoadStringW, UnknownLanguageFallsBackToEnglish) {
  SetThreadUILanguage(kUnknownId);
  EXPECT_EQ(Load(kInitializing), kEnglish);
}

TEST(LoadStringW, BlockThatALanguageLacksIsReadInEnglish) {
  SetThreadUILanguage(kGermanId);
  EXPECT_EQ(Load(1232), L"Continue? (Y/n) ");
}

TEST(SetThreadUILanguage, ConcernsTheThreadAlone) {
  SetThreadUILanguage(kGermanId);
  std::wstring other;
  std::thread([&] { other = Load(kInitializing); }).join();
  EXPECT_EQ(other, kEnglish);
}

TEST(GetUserDefaultUILanguage, IsEnglishHere) { EXPECT_EQ(GetUserDefaultUILanguage(), kEnglishId); }

}  // namespace
