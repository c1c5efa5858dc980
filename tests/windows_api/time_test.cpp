#include <cstdint>
#include <ctime>

#include "support.h"

namespace {

FILETIME FileTime(std::uint64_t value) {
  return {static_cast<DWORD>(value & 0xFFFFFFFF), static_cast<DWORD>(value >> 32)};
}

TEST(FileTimeToSystemTime, BeginsWithTheYear1601) {
  const FILETIME begin = FileTime(0);
  SYSTEMTIME time{};
  ASSERT_NE(FileTimeToSystemTime(&begin, &time), 0);
  EXPECT_EQ(time.wYear, 1601);
  EXPECT_EQ(time.wMonth, 1);
  EXPECT_EQ(time.wDay, 1);
  EXPECT_EQ(time.wDayOfWeek, 1);  // A Monday.
  EXPECT_EQ(time.wHour, 0);
}

TEST(FileTimeToSystemTime, KnowsLeapDaysAndMilliseconds) {
  // 2024-02-29 23:59:58.987, a Thursday, and some 100 ns that no millisecond holds.
  const FILETIME leapDay = FileTime(133537247989870000 + 9999);
  SYSTEMTIME time{};
  ASSERT_NE(FileTimeToSystemTime(&leapDay, &time), 0);
  EXPECT_EQ(time.wYear, 2024);
  EXPECT_EQ(time.wMonth, 2);
  EXPECT_EQ(time.wDay, 29);
  EXPECT_EQ(time.wDayOfWeek, 4);
  EXPECT_EQ(time.wHour, 23);
  EXPECT_EQ(time.wMinute, 59);
  EXPECT_EQ(time.wSecond, 58);
  EXPECT_EQ(time.wMilliseconds, 987);
}

TEST(FileTimeToSystemTime, RefusesTheUpperHalf) {
  const FILETIME tooLate = FileTime(0x8000000000000000);
  SYSTEMTIME time{};
  EXPECT_EQ(FileTimeToSystemTime(&tooLate, &time), 0);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PARAMETER});
}

TEST(GetSystemTimeAsFileTime, IsTheTimeOfDayInUtc) {
  FILETIME now{};
  GetSystemTimeAsFileTime(&now);
  const std::time_t real = std::time(nullptr);
  const std::uint64_t value = std::uint64_t{now.dwHighDateTime} << 32 | now.dwLowDateTime;
  constexpr std::uint64_t kSecondsTo1970 = 11644473600;
  EXPECT_NEAR(static_cast<double>(value / 10000000 - kSecondsTo1970), static_cast<double>(real), 5);
}

TEST(Sleep, TakesTheTimeOfTheTickCount) {
  const DWORD before = GetTickCount();
  Sleep(20);
  // The count of a real system goes on in steps of up to 16 ms.
  EXPECT_GE(GetTickCount() - before, 4u);
}

}  // namespace
