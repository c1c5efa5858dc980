#include "machine/clock.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <limits>

#include "minwindef.h"

namespace Lab {
namespace {

using std::chrono::steady_clock;
using std::chrono::system_clock;

double HostMilliseconds() {
  // Since the host's start: the same for all processes of an instance.
  return std::chrono::duration<double, std::milli>(steady_clock::now().time_since_epoch()).count();
}

}  // namespace

Clock::Clock(Settings settings) : settings_(settings), openedAt_(RunningTicks()) {}

std::uint64_t Clock::RunningTicks() const {
  return static_cast<std::uint64_t>(HostMilliseconds() * settings_.speed);
}

std::uint64_t Clock::Ticks() const {
  const std::lock_guard lock(mutex_);
  return stoppedAt_ ? *stoppedAt_ : RunningTicks();
}

std::uint64_t Clock::Age() const { return Ticks() - openedAt_; }

std::uint64_t Clock::TimeOfDay() const {
  if (settings_.startTime) return *settings_.startTime + Age() * 10'000;
  const auto now = system_clock::now().time_since_epoch();
  return kUnixEpoch + static_cast<std::uint64_t>(
                          std::chrono::duration_cast<
                              std::chrono::duration<std::int64_t, std::ratio<1, 10'000'000>>>(now)
                              .count());
}

void Clock::Sleep(std::uint64_t milliseconds) {
  const std::uint64_t end = Ticks() + milliseconds;
  std::unique_lock lock(mutex_);
  if (movesBySleeps_) stoppedAt_ = std::max(*stoppedAt_, end);
  while ((stoppedAt_ ? *stoppedAt_ : RunningTicks()) < end) {
    if (stoppedAt_) {
      moved_.wait(lock);
    } else {
      const double left = static_cast<double>(end) / settings_.speed - HostMilliseconds();
      moved_.wait_for(lock, std::chrono::duration<double, std::milli>(std::max(left, 0.01)));
    }
  }
}

void Clock::Stop() {
  const std::lock_guard lock(mutex_);
  if (!stoppedAt_) stoppedAt_ = RunningTicks();
  moved_.notify_all();
}

void Clock::MoveBySleeps() {
  Stop();
  const std::lock_guard lock(mutex_);
  movesBySleeps_ = true;
}

void Clock::Advance(std::uint64_t milliseconds) {
  const std::lock_guard lock(mutex_);
  stoppedAt_ = (stoppedAt_ ? *stoppedAt_ : RunningTicks()) + milliseconds;
  moved_.notify_all();
}

int Clock::HostMillisecondsUntil(std::uint64_t ticks) const {
  const std::lock_guard lock(mutex_);
  if (stoppedAt_) return *stoppedAt_ < ticks ? 1 : 0;
  if (RunningTicks() >= ticks) return 0;
  const double left = std::ceil(static_cast<double>(ticks) / settings_.speed - HostMilliseconds());
  return static_cast<int>(std::clamp(left, 1.0, double{std::numeric_limits<int>::max()}));
}

Timeout::Timeout(const Clock& clock, std::uint32_t milliseconds) : clock_(clock) {
  if (milliseconds != INFINITE) deadline_ = clock.Ticks() + milliseconds;
}

int Timeout::PollMilliseconds() const {
  return deadline_ ? clock_.HostMillisecondsUntil(*deadline_) : -1;
}

bool Timeout::Expired() const { return deadline_ && clock_.Ticks() >= *deadline_; }

}  // namespace Lab
