// Time as Windows' C runtime tells it, by the machine's clock.
#include "crt.h"
#include "machine/machine.h"

namespace {

constexpr std::uint64_t kStepsInASecond = 10'000'000;

}  // namespace

__time64_t _time64(__time64_t* time) {
  const std::uint64_t seconds = Lab::TheMachine().Clock().TimeOfDay() / kStepsInASecond;
  const auto now = static_cast<__time64_t>(seconds - Lab::kUnixEpoch / kStepsInASecond);
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
