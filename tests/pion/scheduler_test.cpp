#include "pion/scheduler.h"

#include <gtest/gtest.h>

#include <boost/system/system_error.hpp>
#include <future>
#include <stdexcept>

namespace {

using pion::single_service_scheduler;

TEST(Scheduler, HasEightThreadsUnlessTold) {
  single_service_scheduler scheduler;
  EXPECT_EQ(scheduler.get_num_threads(), 8u);
  scheduler.set_num_threads(1);
  EXPECT_EQ(scheduler.get_num_threads(), 1u);
}

TEST(Scheduler, RunsNothingBeforeItsFirstUser) {
  single_service_scheduler scheduler;
  bool ran = false;
  scheduler.post([&] { ran = true; });
  EXPECT_FALSE(scheduler.is_running());
  EXPECT_FALSE(ran);
  scheduler.shutdown();
  EXPECT_FALSE(ran);
}

TEST(Scheduler, RunsWorkOnItsThreadsOnceAUserIsThere) {
  single_service_scheduler scheduler;
  scheduler.set_num_threads(1);
  std::promise<std::thread::id> ran;
  scheduler.post([&] { ran.set_value(std::this_thread::get_id()); });
  scheduler.add_active_user();
  EXPECT_TRUE(scheduler.is_running());
  EXPECT_NE(ran.get_future().get(), std::this_thread::get_id());
  scheduler.remove_active_user();
}

TEST(Scheduler, KeepsRunningWithoutWork) {
  single_service_scheduler scheduler;
  scheduler.set_num_threads(1);
  scheduler.add_active_user();
  for (int i = 0; i < 3; ++i) {
    std::promise<void> ran;
    scheduler.post([&] { ran.set_value(); });
    ran.get_future().get();
  }
  scheduler.remove_active_user();
}

TEST(Scheduler, SurvivesAnExceptionOfAHandler) {
  single_service_scheduler scheduler;
  scheduler.set_num_threads(1);
  scheduler.add_active_user();
  std::promise<void> ran;
  scheduler.post([] { throw std::runtime_error("a handler's fault"); });
  scheduler.post([] { throw 5; });
  scheduler.post([&] { ran.set_value(); });
  EXPECT_EQ(ran.get_future().wait_for(std::chrono::seconds(30)), std::future_status::ready);
  scheduler.remove_active_user();
}

TEST(Scheduler, ShutdownWaitsForTheLastUserAndJoinForShutdown) {
  single_service_scheduler scheduler;
  scheduler.set_num_threads(2);
  scheduler.add_active_user();
  scheduler.add_active_user();
  auto joined = std::async(std::launch::async, [&] { scheduler.join(); });
  auto down = std::async(std::launch::async, [&] { scheduler.shutdown(); });
  scheduler.remove_active_user();
  std::promise<void> ran;
  scheduler.post([&] { ran.set_value(); });
  ran.get_future().get();  // One user is left, so it still runs.
  EXPECT_TRUE(scheduler.is_running());
  scheduler.remove_active_user();
  down.get();
  joined.get();
  EXPECT_FALSE(scheduler.is_running());
}

TEST(Scheduler, StartsAgainAfterAShutdown) {
  single_service_scheduler scheduler;
  for (std::uint32_t threads = 1; threads <= 2; ++threads) {
    scheduler.set_num_threads(threads);
    scheduler.add_active_user();
    std::promise<void> ran;
    scheduler.post([&] { ran.set_value(); });
    ran.get_future().get();
    scheduler.remove_active_user();
    scheduler.shutdown();
    EXPECT_FALSE(scheduler.is_running());
  }
}

TEST(Scheduler, RefusesToWaitForItsOwnThread) {
  single_service_scheduler scheduler;
  scheduler.set_num_threads(1);
  scheduler.add_active_user();
  std::promise<boost::system::error_code> told;
  scheduler.post([&] {
    try {
      scheduler.shutdown();
      told.set_value({});
    } catch (const boost::system::system_error& error) {
      told.set_value(error.code());
    }
  });
  EXPECT_EQ(told.get_future().get(), boost::system::errc::resource_deadlock_would_occur);
  scheduler.remove_active_user();
}

TEST(Scheduler, TellsItsOwnThreadsFromOthers) {
  single_service_scheduler scheduler;
  scheduler.set_num_threads(1);
  scheduler.add_active_user();
  std::promise<bool> inside;
  scheduler.post([&] { inside.set_value(scheduler.runs_on_this_thread()); });
  EXPECT_TRUE(inside.get_future().get());
  EXPECT_FALSE(scheduler.runs_on_this_thread());
  scheduler.remove_active_user();
}

}  // namespace
