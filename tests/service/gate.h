// Holds a thread of the agent in the middle of its work.
#pragma once

#include <condition_variable>
#include <mutex>

namespace Halvard::Testing {

/// A place where a thread of the agent stays until the test lets it go on.
class Gate {
 public:
  /// Called by the thread.
  void Pass();
  /// Waits until a thread is there; throws after a minute.
  void AwaitArrival();
  bool IsHolding() const;
  /// Lets one thread go on: the one that is there, or the next.
  void LetOnePass();
  void OpenForGood();

 private:
  mutable std::mutex mutex_;
  std::condition_variable changed_;
  int waiting_ = 0;
  int permits_ = 0;
  bool open_ = false;
};

}  // namespace Halvard::Testing
