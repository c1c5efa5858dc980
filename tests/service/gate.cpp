#include "gate.h"

#include <chrono>
#include <stdexcept>

namespace Halvard::Testing {

void Gate::Pass() {
  std::unique_lock lock(mutex_);
  ++waiting_;
  changed_.notify_all();
  changed_.wait(lock, [this] { return open_ || permits_ > 0; });
  if (permits_ > 0) --permits_;
  --waiting_;
}

void Gate::AwaitArrival() {
  std::unique_lock lock(mutex_);
  if (!changed_.wait_for(lock, std::chrono::minutes(1), [this] { return waiting_ > 0; })) {
    throw std::runtime_error("Nobody comes to the gate.");
  }
}

bool Gate::IsHolding() const {
  const std::lock_guard lock(mutex_);
  return waiting_ > 0;
}

void Gate::LetOnePass() {
  const std::lock_guard lock(mutex_);
  ++permits_;
  changed_.notify_all();
}

void Gate::OpenForGood() {
  const std::lock_guard lock(mutex_);
  open_ = true;
  changed_.notify_all();
}

}  // namespace Halvard::Testing
