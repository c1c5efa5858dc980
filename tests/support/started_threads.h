// The end of threads that nobody joins.
#pragma once

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <stdexcept>
#include <thread>

#include "process/host_thread.h"

namespace Lab {

/// The threads that this process has started since the object was made.
class StartedThreads {
 public:
  /// Waits until they have all ended; throws after a minute.
  void AwaitEnd() const {
    const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    while (OwnThreads().size() > before_) {
      if (std::chrono::steady_clock::now() > end) throw std::runtime_error("A thread hangs.");
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
  }

 private:
  /// The thread sanitizer begins a thread of its own beside the first one of the program, so there
  /// is one before they are counted.
  static std::size_t Count() {
    pid_t first = 0;
    std::thread([&first] { first = gettid(); }).join();
    auto threads = OwnThreads();
    // A thread that was joined may still be listed.
    while (std::ranges::find(threads, first) != threads.end()) threads = OwnThreads();
    return threads.size();
  }

  const std::size_t before_ = Count();
};

}  // namespace Lab
