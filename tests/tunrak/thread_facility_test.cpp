#include "tunrak/thread_facility.h"

#include <gtest/gtest.h>
#include <openssl/err.h>

#include <thread>

namespace Tunrak::Service {
namespace {

TEST(ProcessThreads, CountsTheThreadsInside) {
  ProcessThreads threads;
  threads.EnterThread();
  std::thread([&] {
    threads.EnterThread();
    threads.EnterThread();
    EXPECT_EQ(threads.CountInside(), 3);
    threads.LeaveThread();
    threads.LeaveThread();
  }).join();
  EXPECT_EQ(threads.CountInside(), 1);
  threads.LeaveThread();
  EXPECT_EQ(threads.CountInside(), 0);
}

TEST(ProcessThreads, LeavingWithoutHavingEnteredChangesNothing) {
  ProcessThreads threads;
  threads.LeaveThread();
  EXPECT_EQ(threads.CountInside(), 0);
}

TEST(ProcessThreads, StateOfAThreadIsReleasedWhenItIsOutside) {
  std::thread([] {
    ProcessThreads threads;
    threads.EnterThread();
    ERR_raise(ERR_LIB_USER, 1);
    threads.ReleaseThread();
    EXPECT_NE(ERR_peek_error(), 0u);
    threads.LeaveThread();
    threads.ReleaseThread();
    EXPECT_EQ(ERR_peek_error(), 0u);
  }).join();
}

}  // namespace
}  // namespace Tunrak::Service
