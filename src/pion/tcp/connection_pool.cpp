#include "pion/tcp/connection_pool.h"

#include <vector>

#include "pion/tcp/channel.h"

namespace pion::tcp::detail {
namespace {

/// Calls \p release when the last copy of the result goes.
template <typename Release>
std::shared_ptr<void> make_token(Release release) {
  // The pointer itself means nothing, but an empty one would look like no token.
  static char anchor;
  return std::shared_ptr<void>(&anchor, [release = std::move(release)](void*) { release(); });
}

}  // namespace

connection_pool::visit connection_pool::enter() {
  const std::lock_guard lock(mutex_);
  if (state_ != state::listening) return visit();
  ++visits_;
  return visit(shared_from_this());
}

connection_pool::visit connection_pool::stay() {
  const std::lock_guard lock(mutex_);
  if (state_ != state::listening && state_ != state::stopping) return visit();
  ++visits_;
  return visit(shared_from_this());
}

void connection_pool::leave() {
  std::unique_lock lock(mutex_);
  --visits_;
  end_if_all_left(std::move(lock));
}

std::shared_ptr<void> connection_pool::add(const std::shared_ptr<channel>& connection) {
  const std::lock_guard lock(mutex_);
  if (state_ != state::listening) return nullptr;
  const std::uint64_t id = ++next_id_;
  connection->attach(make_token([pool = shared_from_this(), id] { pool->forget(id); }));
  auto token = make_token([pool = shared_from_this()] {
    std::unique_lock held(pool->mutex_);
    --pool->open_;
    pool->end_if_all_left(std::move(held));
  });
  channels_.emplace(id, connection);
  ++open_;
  return token;
}

void connection_pool::forget(std::uint64_t id) {
  std::unique_lock lock(mutex_);
  channels_.erase(id);
  end_if_all_left(std::move(lock));
}

bool connection_pool::begin() {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [this] { return state_ == state::idle || state_ == state::listening; });
  if (state_ == state::listening) return false;
  state_ = state::starting;
  return true;
}

void connection_pool::listen() { change_to(state::listening); }

void connection_pool::abandon() { change_to(state::idle); }

void connection_pool::change_to(state next) {
  const std::lock_guard lock(mutex_);
  state_ = next;
  changed_.notify_all();
}

connection_pool::visit connection_pool::begin_stop(bool graceful, std::function<void()> ended) {
  const std::lock_guard lock(mutex_);
  if (state_ != state::listening) return visit();
  state_ = state::stopping;
  graceful_ = graceful;
  ended_ = std::move(ended);
  ++visits_;
  return visit(shared_from_this());
}

bool connection_pool::all_left() const {
  return visits_ == 0 && open_ == 0 && (!graceful_ || channels_.empty());
}

void connection_pool::end_if_all_left(std::unique_lock<std::mutex> lock) {
  if (state_ != state::stopping || !all_left()) return;
  state_ = state::ending;
  const std::function<void()> ended = std::exchange(ended_, nullptr);
  lock.unlock();
  ended();
  lock.lock();
  state_ = state::idle;
  changed_.notify_all();
}

void connection_pool::cut_all() {
  std::vector<std::shared_ptr<channel>> open;
  {
    const std::lock_guard lock(mutex_);
    for (const auto& [id, weak] : channels_) {
      if (auto alive = weak.lock()) open.push_back(std::move(alive));
    }
  }
  for (const auto& connection : open) connection->close();
}

void connection_pool::wait_until_idle() {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [this] { return state_ == state::idle; });
}

bool connection_pool::is_listening() const {
  const std::lock_guard lock(mutex_);
  return state_ == state::listening;
}

bool connection_pool::is_idle() const {
  const std::lock_guard lock(mutex_);
  return state_ == state::idle;
}

std::size_t connection_pool::size() const {
  const std::lock_guard lock(mutex_);
  return open_;
}

}  // namespace pion::tcp::detail
