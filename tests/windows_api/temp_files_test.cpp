#include <gtest/gtest.h>

#include <string>

#include "scratch_folder.h"
#include "support.h"

namespace {

using WindowsApi::kSpoiled;
using WindowsApi::LastError;
using WindowsApi::SpoilLastError;

TEST(TempPath, EndsInABackslash) {
  wchar_t buffer[MAX_PATH + 1] = {};
  SpoilLastError();
  const DWORD length = GetTempPathW(MAX_PATH + 1, buffer);
  EXPECT_EQ(length, std::wcslen(buffer));
  EXPECT_EQ(buffer[length - 1], L'\\');
  EXPECT_NE(buffer[length - 2], L'\\');
  EXPECT_EQ(LastError(), kSpoiled);
}

TEST(TempPath, TooLittleRoomAnswersTheNeededSize) {
  wchar_t whole[MAX_PATH + 1] = {};
  const DWORD length = GetTempPathW(MAX_PATH + 1, whole);
  std::wstring buffer(length, L'#');
  EXPECT_EQ(GetTempPathW(length, buffer.data()), length + 1);
  EXPECT_EQ(buffer[0], 0);
}

class TempFileName : public testing::Test {
 protected:
  UINT Make(const std::wstring& folder, UINT number = 0) {
    SpoilLastError();
    return GetTempFileNameW(folder.c_str(), L"migration", number, name_);
  }
  /// \return The name for a number, in upper case.
  std::wstring Expected(UINT number) const {
    wchar_t digits[8] = {};
    _snwprintf_s(digits, 8, _TRUNCATE, L"%X", number);
    return scratch_.In(std::wstring(L"mig") + digits + L".tmp");
  }
  const WindowsApi::ScratchFolder scratch_;
  wchar_t name_[MAX_PATH] = {};
};

TEST_F(TempFileName, MakesAnEmptyFile) {
  const UINT number = Make(scratch_.Path());
  ASSERT_NE(number, 0u);
  EXPECT_LE(number, 0xFFFFu);
  EXPECT_EQ(_wcsicmp(name_, Expected(number).c_str()), 0);
  EXPECT_EQ(WindowsApi::Contents(name_), "");
  EXPECT_TRUE(DeleteFileW(name_));
}

TEST_F(TempFileName, TakesAnotherNameEachTime) {
  ASSERT_NE(Make(scratch_.Path()), 0u);
  const std::wstring first = name_;
  ASSERT_NE(Make(scratch_.Path() + L"\\"), 0u);
  EXPECT_NE(first, name_);
}

TEST_F(TempFileName, GivenNumberMakesNoFile) {
  EXPECT_EQ(Make(scratch_.Path(), 0x12AB), 0x12ABu);
  EXPECT_EQ(_wcsicmp(name_, Expected(0x12AB).c_str()), 0);
  EXPECT_FALSE(WindowsApi::Exists(name_));
}

TEST_F(TempFileName, OnlySixteenBitsOfTheNumberCount) {
  Make(scratch_.Path(), 0x70012AB);
  EXPECT_EQ(_wcsicmp(name_, Expected(0x12AB).c_str()), 0);
}

TEST_F(TempFileName, Failures) {
  EXPECT_EQ(Make(scratch_.In(L"missing")), 0u);
  EXPECT_EQ(LastError(), 267u);
  EXPECT_EQ(Make(scratch_.Write(L"file")), 0u);
  EXPECT_EQ(LastError(), 267u);
  EXPECT_EQ(Make(L""), 0u);
  EXPECT_EQ(LastError(), 267u);
}

TEST_F(TempFileName, TooLongAFolder) {
  SKIP_ON_WINE("GetTempFileNameW answers 267");
  EXPECT_EQ(Make(L"C:\\" + std::wstring(250, L'a')), 0u);
  EXPECT_EQ(LastError(), 111u);
}

TEST_F(TempFileName, RootOfADriveHasOneBackslash) {
  ASSERT_NE(Make(L"C:\\"), 0u);
  EXPECT_EQ(std::wstring(name_).substr(0, 6), L"C:\\mig");
  EXPECT_TRUE(DeleteFileW(name_));
}

}  // namespace
