#include <chrono>

#include "api/failure.h"
#include "machine/call.h"
#include "machine/machine.h"
#include "synchapi.h"
#include "sysinfoapi.h"
#include "timezoneapi.h"
#include "winerror.h"

namespace {

/// Steps of 100 ns.
using Ticks = std::chrono::duration<std::int64_t, std::ratio<1, 10'000'000>>;

}  // namespace

DWORD WINAPI GetTickCount() {
  const Lab::Call call("GetTickCount");
  LAB_SUPPORTS(!call.PlannedError());
  return static_cast<DWORD>(Lab::TheMachine().Clock().Ticks());
}

void WINAPI Sleep(DWORD milliseconds) {
  const Lab::Call call("Sleep");
  LAB_SUPPORTS(!call.PlannedError());
  LAB_SUPPORTS(milliseconds != INFINITE);
  Lab::TheMachine().Clock().Sleep(milliseconds);
}

void WINAPI GetSystemTimeAsFileTime(LPFILETIME time) {
  const Lab::Call call("GetSystemTimeAsFileTime");
  LAB_SUPPORTS(!call.PlannedError());
  const std::uint64_t now = Lab::TheMachine().Clock().TimeOfDay();
  *time = {static_cast<DWORD>(now & 0xFFFFFFFF), static_cast<DWORD>(now >> 32)};
}

BOOL WINAPI FileTimeToSystemTime(const FILETIME* fileTime, LPSYSTEMTIME systemTime) {
  const Lab::Call call("FileTimeToSystemTime");
  if (call.FailsByPlan()) return FALSE;
  using namespace std::chrono;
  const std::uint64_t raw = std::uint64_t{fileTime->dwHighDateTime} << 32 | fileTime->dwLowDateTime;
  if (raw >> 63 != 0) return Lab::Fail(ERROR_INVALID_PARAMETER);
  const Ticks since{static_cast<std::int64_t>(raw)};
  constexpr sys_days kBegin{year(1601) / January / 1};
  const days wholeDays = floor<days>(since);
  const year_month_day date{kBegin + wholeDays};
  const hh_mm_ss time{floor<milliseconds>(since - wholeDays)};
  systemTime->wYear = static_cast<WORD>(int{date.year()});
  systemTime->wMonth = static_cast<WORD>(unsigned{date.month()});
  systemTime->wDay = static_cast<WORD>(unsigned{date.day()});
  systemTime->wDayOfWeek = static_cast<WORD>(weekday(kBegin + wholeDays).c_encoding());
  systemTime->wHour = static_cast<WORD>(time.hours().count());
  systemTime->wMinute = static_cast<WORD>(time.minutes().count());
  systemTime->wSecond = static_cast<WORD>(time.seconds().count());
  systemTime->wMilliseconds = static_cast<WORD>(time.subseconds().count());
  return TRUE;
}
