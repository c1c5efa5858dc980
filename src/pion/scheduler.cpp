#include "pion/scheduler.h"

#include <boost/system/system_error.hpp>

namespace pion {

void scheduler::set_num_threads(std::uint32_t threads) {
  const std::lock_guard lock(users_mutex_);
  num_threads_ = threads;
}

std::uint32_t scheduler::get_num_threads() const {
  const std::lock_guard lock(users_mutex_);
  return num_threads_;
}

void scheduler::add_active_user() {
  startup();
  const std::lock_guard lock(users_mutex_);
  ++active_users_;
}

void scheduler::remove_active_user() {
  const std::lock_guard lock(users_mutex_);
  if (active_users_ > 0) --active_users_;
  // Told under the lock: the one who waits may destroy this object as soon as it is released.
  if (active_users_ == 0) no_users_.notify_all();
}

void scheduler::wait_for_active_users() {
  std::unique_lock lock(users_mutex_);
  no_users_.wait(lock, [this] { return active_users_ == 0; });
}

single_service_scheduler::~single_service_scheduler() { single_service_scheduler::shutdown(); }

void single_service_scheduler::startup() {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [this] { return state_ != state::ending; });
  if (state_ == state::running) return;
  service_.restart();
  work_.emplace(service_.get_executor());
  start_threads();
  state_ = state::running;
}

void single_service_scheduler::start_threads() {
  try {
    for (std::uint32_t i = 0; i < get_num_threads(); ++i) {
      threads_.emplace_back([this] { run_handlers(); });
    }
  } catch (...) {
    end_threads();
    throw;
  }
}

void single_service_scheduler::run_handlers() {
  for (;;) {
    try {
      service_.run();
      return;
    } catch (...) {
      // The handler that threw has ended; the thread serves everybody else and goes on.
    }
  }
}

void single_service_scheduler::end_threads() {
  work_.reset();
  service_.stop();
  for (std::thread& thread : threads_) thread.join();
  threads_.clear();
}

void single_service_scheduler::shutdown() {
  if (runs_on_this_thread()) {
    throw boost::system::system_error(
        make_error_code(boost::system::errc::resource_deadlock_would_occur));
  }
  if (!is_running()) return;
  wait_for_active_users();
  {
    std::unique_lock lock(mutex_);
    if (state_ == state::ending) changed_.wait(lock, [this] { return state_ != state::ending; });
    if (state_ == state::idle) return;
    state_ = state::ending;
  }
  end_threads();
  const std::lock_guard lock(mutex_);
  state_ = state::idle;
  changed_.notify_all();
}

void single_service_scheduler::join() {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [this] { return state_ == state::idle; });
}

bool single_service_scheduler::is_running() const {
  const std::lock_guard lock(mutex_);
  return state_ != state::idle;
}

}  // namespace pion
