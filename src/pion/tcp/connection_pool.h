#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <utility>

namespace pion::tcp::detail {

class channel;

/// What a server and its connections share: whether it listens, which connections it has, and who
/// is inside the server at the moment. Outlives the server as long as a connection needs it, so
/// that a connection that is finished late finds an answer instead of a dangling server.
///
/// Every operation may be called from any thread.
class connection_pool : public std::enable_shared_from_this<connection_pool> {
 public:
  /// Proof that the server may be used: it neither ends its stop nor goes away before the visit is
  /// over. Empty if the server doesn't listen.
  class visit {
   public:
    visit() = default;
    explicit visit(std::shared_ptr<connection_pool> pool) : pool_(std::move(pool)) {}
    visit(visit&&) noexcept = default;
    visit& operator=(visit&&) = delete;
    ~visit() {
      if (pool_) pool_->leave();
    }
    explicit operator bool() const { return pool_ != nullptr; }

   private:
    std::shared_ptr<connection_pool> pool_;
  };

  visit enter();

  /// The same for one who has a connection that is counted, so that a stop can't have ended. Never
  /// empty then, also while the server stops.
  visit stay();

  /// Counts a connection as open until the token is let go. Null if the server doesn't listen.
  std::shared_ptr<void> add(const std::shared_ptr<channel>& connection);

  /// Idle to starting. False if the server listens; waits for a stop that is under way.
  bool begin();
  /// Starting to listening.
  void listen();

  /// Starting to idle, after a failure.
  void abandon();

  /// Listening to stopping; an empty visit otherwise. The caller is inside until it lets the visit
  /// go.
  /// \param graceful  The stop waits until all sockets are closed, not only until all connections
  ///        are finished.
  /// \param ended  Called once when all have left, on the thread that is the last to leave.
  visit begin_stop(bool graceful, std::function<void()> ended);

  /// Closes every socket at once, whatever it is doing.
  void cut_all();

  /// Blocks until the server is idle.
  void wait_until_idle();

  bool is_listening() const;
  bool is_idle() const;
  std::size_t size() const;

 private:
  enum class state { idle, starting, listening, stopping, ending };

  void change_to(state next);
  void leave();
  void forget(std::uint64_t id);
  void end_if_all_left(std::unique_lock<std::mutex> lock);
  bool all_left() const;

  mutable std::mutex mutex_;
  std::condition_variable changed_;
  state state_ = state::idle;
  bool graceful_ = false;
  std::function<void()> ended_;
  std::size_t visits_ = 0;
  std::size_t open_ = 0;
  std::uint64_t next_id_ = 0;
  // Finished connections stay listed until their sockets are closed: a stop cuts these too.
  std::map<std::uint64_t, std::weak_ptr<channel>> channels_;
};

}  // namespace pion::tcp::detail
