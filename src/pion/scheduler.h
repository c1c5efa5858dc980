#pragma once

#include <boost/asio/detail/thread.hpp>
#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <optional>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

namespace pion {

// Or sources disagree about what Asio's own threads are, and a service goes before its thread.
static_assert(std::is_same_v<boost::asio::detail::thread, boost::asio::detail::posix_thread>,
              "Asio needs BOOST_ASIO_HAS_PTHREADS for every source");

/// Runs the handlers of an I/O service on a pool of threads. No thread exists before startup(),
/// which the first active user causes. Every operation may be called from any thread.
class scheduler {
 public:
  static constexpr std::uint32_t DEFAULT_NUM_THREADS = 8;

  scheduler() = default;
  scheduler(const scheduler&) = delete;
  scheduler& operator=(const scheduler&) = delete;
  virtual ~scheduler() = default;

  /// Starts the threads if none run. Waits for the end of a shutdown() that is under way.
  virtual void startup() = 0;

  /// Waits without limit until no active user is left, then ends the threads and wakes join(). The
  /// handlers that are still queued stay queued.
  /// \throws boost::system::system_error with resource_deadlock_would_occur on a thread of the
  ///         pool, which can't wait for its own end.
  virtual void shutdown() = 0;

  /// Blocks until the scheduler isn't running.
  virtual void join() = 0;

  /// True from startup() to the end of shutdown().
  virtual bool is_running() const = 0;

  /// The I/O service, valid from construction on.
  virtual boost::asio::io_context& get_io_service() = 0;

  /// The number of threads that the next startup() makes; a running pool keeps its size.
  void set_num_threads(std::uint32_t threads);
  std::uint32_t get_num_threads() const;

  /// Starts the scheduler if need be and keeps shutdown() waiting until the user is removed.
  void add_active_user();
  void remove_active_user();

  /// True on a thread that is running one of the scheduler's handlers.
  bool runs_on_this_thread() { return get_io_service().get_executor().running_in_this_thread(); }

  /// Runs \p work, a function of no arguments, on one of the threads. An exception that leaves it
  /// is swallowed.
  template <typename Function>
  void post(Function work) {
    boost::asio::post(get_io_service(), std::move(work));
  }

 protected:
  /// Blocks until no active user is left.
  void wait_for_active_users();

 private:
  mutable std::mutex users_mutex_;
  std::condition_variable no_users_;
  std::uint32_t num_threads_ = DEFAULT_NUM_THREADS;
  std::uint32_t active_users_ = 0;
};

/// A scheduler with one I/O service that all its threads share.
class single_service_scheduler : public scheduler {
 public:
  single_service_scheduler() = default;
  /// Ends as shutdown() does. Whatever added itself as an active user has to be gone before.
  ~single_service_scheduler() override;

  void startup() override;
  void shutdown() override;
  void join() override;
  bool is_running() const override;
  boost::asio::io_context& get_io_service() override { return service_; }

 private:
  enum class state { idle, running, ending };

  void start_threads();
  void end_threads();
  void run_handlers();

  // Handlers that are left over when the service goes may still use what was declared before it.
  mutable std::mutex mutex_;
  std::condition_variable changed_;
  state state_ = state::idle;
  std::vector<std::thread> threads_;
  boost::asio::io_context service_;
  std::optional<boost::asio::executor_work_guard<boost::asio::io_context::executor_type>> work_;
};

}  // namespace pion
