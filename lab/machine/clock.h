// The machine's clock: it may run faster than the host's, or stand until a test moves it.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <optional>

namespace Lab {

/// From the first day of 1601 to that of 1970, in steps of 100 ns.
inline constexpr std::uint64_t kUnixEpoch = 116'444'736'000'000'000;

/// All times are those of the machine, in milliseconds unless told. With a speed of 100 a sleep of
/// 10,000 ms is over after 100 ms of the host. Safe under threads.
class Clock {
 public:
  struct Settings {
    double speed = 1.0;  ///< Machine milliseconds in one of the host. More than 0.
    /// Time of day (100 ns since 1601) at which the machine's clock begins; it goes on from there
    /// with the machine's speed. Without it the time of day is the host's.
    std::optional<std::uint64_t> startTime{};
  };

  explicit Clock(Settings settings);

  /// \return Milliseconds since the machine's start. Processes of one instance agree on them.
  std::uint64_t Ticks() const;

  /// \return Milliseconds since this process opened the machine.
  std::uint64_t Age() const;

  /// \return Time of day, UTC, in steps of 100 ns since the first day of 1601.
  std::uint64_t TimeOfDay() const;

  /// Blocks the calling thread for \p milliseconds of the machine.
  void Sleep(std::uint64_t milliseconds);

  /// The clock stands from now on and moves only by Advance(). For tests in this process.
  void Stop();

  /// The clock stands from now on, and whoever sleeps moves it by that much instead of waiting. For
  /// tests in this process: what waits goes on at once, and time is exactly what was slept.
  void MoveBySleeps();

  /// Moves a stopped clock and wakes who slept until then.
  void Advance(std::uint64_t milliseconds);

  /// \return How long a host call may wait until the machine reaches \p ticks: whole milliseconds
  ///         of the host, rounded up, 0 when it's reached. While the clock stands the answer is
  ///         1 as long as it isn't reached, so that a loop of short waits sees Advance().
  int HostMillisecondsUntil(std::uint64_t ticks) const;

 private:
  std::uint64_t RunningTicks() const;

  const Settings settings_;
  const std::uint64_t openedAt_;  ///< In ticks.
  mutable std::mutex mutex_;
  std::condition_variable moved_;
  std::optional<std::uint64_t> stoppedAt_;
  bool movesBySleeps_ = false;
};

/// A time-out as waiting functions take it: milliseconds of the machine, or INFINITE.
class Timeout {
 public:
  Timeout(const Clock& clock, std::uint32_t milliseconds);

  /// \return What poll(2) takes: -1 for no limit, 0 when the time is over.
  int PollMilliseconds() const;
  bool Expired() const;

 private:
  const Clock& clock_;
  std::optional<std::uint64_t> deadline_;
};

}  // namespace Lab
