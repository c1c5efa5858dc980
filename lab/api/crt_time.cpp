// Time as Windows' C runtime tells it, by the machine's clock.
#include "crt.h"
#include "machine/machine.h"

namespace {

/// From the first day of 1601 to that of 1970, in seconds.
constexpr std::uint64_t kUnixEpoch = 11'644'473'600;

}  // namespace

__time64_t _time64(__time64_t* time) {
  const auto now =
      static_cast<__time64_t>(Lab::TheMachine().Clock().TimeOfDay() / 10'000'000 - kUnixEpoch);
  if (time != nullptr) *time = now;
  return now;
}

errno_t _localtime64_s(std::tm* fields, const __time64_t* time) {
  if (fields == nullptr) return EINVAL;
  if (time == nullptr || *time < 0 || localtime_r(time, fields) == nullptr) {
    fields->tm_sec = fields->tm_min = fields->tm_hour = -1;
    fields->tm_mday = fields->tm_mon = fields->tm_year = -1;
    fields->tm_wday = fields->tm_yday = fields->tm_isdst = -1;
    return EINVAL;
  }
  return 0;
}
