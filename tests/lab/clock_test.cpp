#include "machine/clock.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "minwindef.h"

namespace Lab {
namespace {

constexpr double kFast = 100'000;

TEST(Clock, FastMachineSleepsLongInNoTime) {
  Clock clock({.speed = kFast});
  const auto hostBefore = std::chrono::steady_clock::now();
  const std::uint64_t before = clock.Ticks();
  clock.Sleep(60'000);
  EXPECT_GE(clock.Ticks() - before, 60'000u);
  EXPECT_LT(std::chrono::steady_clock::now() - hostBefore, std::chrono::seconds(30));
}

TEST(Clock, StoppedClockMovesByHandOnly) {
  Clock clock({.speed = kFast});
  clock.Stop();
  const std::uint64_t at = clock.Ticks();
  EXPECT_EQ(clock.Ticks(), at);
  clock.Advance(1500);
  EXPECT_EQ(clock.Ticks(), at + 1500);
}

TEST(Clock, SleeperOnAStoppedClockWaitsForItsTime) {
  Clock clock({});
  clock.Stop();
  std::atomic<bool> awake{false};
  std::thread sleeper([&] {
    clock.Sleep(1000);
    awake = true;
  });
  // Whether or not the sleeper sleeps already: 999 ms aren't enough from any beginning.
  clock.Advance(999);
  EXPECT_FALSE(awake);
  while (!awake) {
    clock.Advance(1000);
    std::this_thread::yield();
  }
  sleeper.join();
  EXPECT_TRUE(awake);
}

TEST(Clock, MayBeMovedByWhoeverSleeps) {
  Clock clock({});
  clock.MoveBySleeps();
  const std::uint64_t at = clock.Ticks();
  clock.Sleep(60'000);
  EXPECT_EQ(clock.Ticks(), at + 60'000);
  clock.Advance(1);
  clock.Sleep(0);
  EXPECT_EQ(clock.Ticks(), at + 60'001);
}

TEST(Clock, CountsItsAgeFromItsOpening) {
  Clock clock({});
  clock.MoveBySleeps();
  const std::uint64_t age = clock.Age();
  EXPECT_LT(age, 60'000u);
  clock.Sleep(60'000);
  EXPECT_EQ(clock.Age(), age + 60'000);
}

TEST(Clock, TimeOfDayGoesOnFromTheDescribedOne) {
  constexpr std::uint64_t kStart = 133'537'247'989'870'000;
  Clock clock({.speed = 1, .startTime = kStart});
  clock.Stop();
  const std::uint64_t before = clock.TimeOfDay();
  EXPECT_GE(before, kStart);
  EXPECT_LT(before, kStart + 600'000'000);
  clock.Advance(1);
  EXPECT_EQ(clock.TimeOfDay(), before + 10'000);
}

TEST(Clock, WithoutADescribedTimeItIsTheHosts) {
  Clock clock({});
  const auto host = std::chrono::system_clock::now().time_since_epoch();
  const double seconds = std::chrono::duration<double>(host).count();
  EXPECT_NEAR(static_cast<double>(clock.TimeOfDay()) / 1e7 - 11'644'473'600.0, seconds, 5);
}

TEST(Timeout, InfiniteNeverExpires) {
  const Clock clock({});
  const Timeout timeout(clock, INFINITE);
  EXPECT_FALSE(timeout.Expired());
  EXPECT_EQ(timeout.PollMilliseconds(), -1);
}

TEST(Timeout, ZeroHasExpired) {
  const Clock clock({});
  const Timeout timeout(clock, 0);
  EXPECT_TRUE(timeout.Expired());
  EXPECT_EQ(timeout.PollMilliseconds(), 0);
}

TEST(Timeout, HostWaitsAsLongAsTheSpeedTells) {
  Clock clock({.speed = 1000});
  const Timeout timeout(clock, 3'600'000);
  EXPECT_FALSE(timeout.Expired());
  EXPECT_GT(timeout.PollMilliseconds(), 3000);
  EXPECT_LE(timeout.PollMilliseconds(), 3600);
}

TEST(Timeout, LooksOftenWhileTheClockStands) {
  Clock clock({});
  clock.Stop();
  const Timeout timeout(clock, 1000);
  EXPECT_EQ(timeout.PollMilliseconds(), 1);
  clock.Advance(1000);
  EXPECT_EQ(timeout.PollMilliseconds(), 0);
  EXPECT_TRUE(timeout.Expired());
}

}  // namespace
}  // namespace Lab
