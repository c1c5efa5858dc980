#include "pion/tcp/channel.h"

#include <algorithm>
#include <array>
#include <boost/asio/error.hpp>
#include <boost/asio/post.hpp>
#include <new>
#include <utility>

namespace pion::tcp::detail {
namespace {

namespace asio = boost::asio;
using boost::system::error_code;

/// How much of a peer's unwanted input is read away, and for how long.
constexpr std::size_t drain_limit = std::size_t{2} << 20;
constexpr std::chrono::seconds drain_time{2};

/// Ciphertext that is collected before it is handed to the socket: four full records.
constexpr std::size_t flush_threshold = 4 * tls_session::max_record_size;

attempt failure(const error_code& error) { return {progress::failed, 0, error}; }

}  // namespace

/// The buffers of one write and how far it has got.
struct channel::outgoing {
  std::vector<asio::const_buffer> buffers;
  std::size_t index = 0;
  std::size_t total = 0;
  bool last = false;
  io_handler handler;

  void skip_empty() {
    while (index < buffers.size() && buffers[index].size() == 0) ++index;
  }
  bool done() {
    skip_empty();
    return index == buffers.size();
  }
  void consume(std::size_t bytes) {
    while (bytes > 0) {
      const std::size_t step = std::min(bytes, buffers[index].size());
      buffers[index] += step;
      bytes -= step;
      skip_empty();
    }
  }
  /// The next bytes in one piece, at most a record of them. They are copied into \p room only if
  /// they lie scattered.
  asio::const_buffer next_record(std::array<char, tls_session::max_record_size>& room) {
    skip_empty();
    const asio::const_buffer first = buffers[index];
    if (first.size() >= room.size() || index + 1 == buffers.size()) {
      return asio::buffer(first, room.size());
    }
    std::size_t filled = 0;
    for (std::size_t i = index; i < buffers.size() && filled < room.size(); ++i) {
      filled += asio::buffer_copy(asio::buffer(room) + filled, buffers[i]);
    }
    return asio::buffer(room.data(), filled);
  }
};

channel::channel(asio::io_context& service, SSL_CTX* context)
    : service_(service), socket_(service), context_(context), timer_(service) {
  if (context_ != nullptr) SSL_CTX_up_ref(context_);
}

channel::~channel() {
  close_locked();
  if (context_ != nullptr) SSL_CTX_free(context_);
}

void channel::opened() {
  const std::lock_guard lock(mutex_);
  error_code error;
  socket_.non_blocking(true, error);
  open_ = !error;
  try {
    if (open_ && context_ != nullptr) session_ = std::make_unique<tls_session>(context_, socket_);
  } catch (const std::bad_alloc&) {
    close_locked();
  }
}

void channel::handshake(duration limit, io_handler handler) {
  start(
      limit, [](channel& self) { return self.try_handshake(); }, std::move(handler));
}

void channel::read_some(asio::mutable_buffer target, duration limit, io_handler handler) {
  start(
      limit, [target](channel& self) { return self.try_read(target); }, std::move(handler));
}

void channel::start(duration limit, attempt_function next, io_handler handler) {
  const std::lock_guard lock(mutex_);
  const attempt result = next(*this);
  if (result.state == progress::done || result.state == progress::failed) {
    asio::post(service_,
               [handler = std::move(handler), result] { handler(result.error, result.bytes); });
    return;
  }
  start_deadline(limit);
  wait_for(result.state, [self = shared_from_this(), limit, next = std::move(next),
                          handler = std::move(handler)](const error_code& error) mutable {
    self->resume(limit, std::move(next), std::move(handler), error);
  });
}

void channel::resume(duration limit, attempt_function next, io_handler handler,
                     const error_code& error) {
  attempt result;
  {
    const std::lock_guard lock(mutex_);
    result = error ? failure(error) : next(*this);
    const bool waits = result.state != progress::done && result.state != progress::failed;
    if (waits && !deadline_passed_) {
      // Anew, since the time may have been spent on a thread that was busy with another request.
      start_deadline(limit);
      wait_for(result.state, [self = shared_from_this(), limit, next = std::move(next),
                              handler = std::move(handler)](const error_code& code) mutable {
        self->resume(limit, std::move(next), std::move(handler), code);
      });
      return;
    }
    // The time ended just when the socket had become ready for less than a whole step.
    if (waits) result = failure(asio::error::operation_aborted);
    if (!draining_) end_deadline();
  }
  handler(result.error, result.bytes);
}

template <typename Handler>
void channel::wait_for(progress direction, Handler handler) {
  socket_.async_wait(direction == progress::wants_output ? asio::ip::tcp::socket::wait_write
                                                         : asio::ip::tcp::socket::wait_read,
                     std::move(handler));
}

attempt channel::try_handshake() {
  if (!open_) return failure(asio::error::operation_aborted);
  if (!session_) return {};
  // A flight of the handshake that is stuck goes out before the next one is read.
  if (const attempt sent = session_->flush(); sent.state != progress::done) return sent;
  const attempt result = session_->handshake();
  const attempt sent = session_->flush();
  if (result.state == progress::failed || sent.state == progress::done) return result;
  return sent;
}

attempt channel::try_read(asio::mutable_buffer target) {
  if (!open_) return failure(asio::error::operation_aborted);
  if (session_) {
    // What OpenSSL answers by itself waits here; a peer that doesn't take it isn't read any
    // further.
    if (const attempt sent = session_->flush(); sent.state != progress::done) return sent;
    const attempt result = session_->read(target);
    (void)session_->flush();
    return result;
  }
  error_code error;
  const std::size_t bytes = socket_.read_some(target, error);
  if (error == asio::error::would_block || error == asio::error::try_again) {
    return {progress::wants_input, 0, {}};
  }
  return {error ? progress::failed : progress::done, bytes, error};
}

void channel::write(std::vector<asio::const_buffer> buffers, bool last, io_handler handler) {
  const std::lock_guard lock(mutex_);
  const auto data = std::make_shared<outgoing>();
  data->buffers = std::move(buffers);
  data->last = last;
  for (const asio::const_buffer& buffer : data->buffers) data->total += buffer.size();
  attempt result = writing_ ? failure(asio::error::already_started) : try_write(*data);
  if (result.state == progress::done) result.bytes = data->total;
  // What was cut off in the middle can't be continued.
  if (result.state == progress::failed && !writing_) close_locked();
  if (result.state == progress::done || result.state == progress::failed) {
    asio::post(service_,
               [handler = std::move(handler), result] { handler(result.error, result.bytes); });
    return;
  }
  writing_ = true;
  data->handler = std::move(handler);
  wait_for(result.state, [self = shared_from_this(), data](const error_code& error) {
    self->resume_write(data, error);
  });
}

void channel::resume_write(std::shared_ptr<outgoing> data, const error_code& error) {
  attempt result;
  {
    const std::lock_guard lock(mutex_);
    result = error ? failure(error) : try_write(*data);
    if (result.state != progress::done && result.state != progress::failed) {
      wait_for(result.state, [self = shared_from_this(), data](const error_code& code) {
        self->resume_write(data, code);
      });
      return;
    }
    writing_ = false;
    if (result.state == progress::failed) close_locked();
  }
  data->handler(result.error, result.error ? 0 : data->total);
}

attempt channel::try_write(outgoing& data) {
  if (!open_) return failure(asio::error::connection_reset);
  if (session_) return encrypt_all(data);
  while (!data.done()) {
    error_code error;
    data.consume(socket_.write_some(
        std::vector<asio::const_buffer>(
            data.buffers.begin() + static_cast<std::ptrdiff_t>(data.index), data.buffers.end()),
        error));
    if (error == asio::error::would_block || error == asio::error::try_again) {
      return {progress::wants_output, 0, {}};
    }
    if (error) return failure(error);
  }
  return {};
}

attempt channel::encrypt_all(outgoing& data) {
  std::array<char, tls_session::max_record_size> room;
  for (;;) {
    while (!data.done() && session_->waiting() < flush_threshold) {
      const asio::const_buffer record = data.next_record(room);
      if (const error_code error = session_->encrypt(record)) return failure(error);
      data.consume(record.size());
    }
    if (data.done() && data.last) session_->say_goodbye();
    const attempt sent = session_->flush();
    if (sent.state != progress::done || data.done()) return sent;
  }
}

void channel::cancel() {
  const std::lock_guard lock(mutex_);
  error_code ignored;
  if (open_) socket_.cancel(ignored);
}

void channel::close() {
  const std::lock_guard lock(mutex_);
  close_locked();
}

void channel::close_locked() {
  open_ = false;  // Before the peer can see it.
  if (socket_.is_open()) {
    error_code ignored;
    socket_.shutdown(asio::ip::tcp::socket::shutdown_both, ignored);
  }
  close_socket();
}

void channel::close_socket() {
  open_ = false;
  end_deadline();
  error_code ignored;
  socket_.close(ignored);
}

void channel::close_gracefully(bool inputPending) {
  const std::lock_guard lock(mutex_);
  if (!open_) return;
  if (session_ && !writing_) {
    session_->say_goodbye();
    // A peer that takes nothing at this moment goes without the goodbye.
    (void)session_->flush();
  }
  error_code error;
  // Bytes that nobody expected may have arrived meanwhile.
  const bool unread = inputPending || socket_.available(error) > 0;
  if (writing_ || !unread) {
    // The system delivers what it has taken and then ends the sending side by itself.
    close_socket();
    return;
  }
  socket_.shutdown(asio::ip::tcp::socket::shutdown_send, error);
  if (error) {
    close_socket();
    return;
  }
  open_ = false;
  draining_ = true;
  socket_.cancel(error);
  start_deadline(drain_time);
  wait_for(progress::wants_input,
           [self = shared_from_this()](const error_code& waited) { self->drain(waited); });
}

void channel::drain(const error_code& error) {
  const std::lock_guard lock(mutex_);
  if (error || deadline_passed_ || try_drain().state != progress::wants_input) {
    close_locked();
    return;
  }
  wait_for(progress::wants_input,
           [self = shared_from_this()](const error_code& waited) { self->drain(waited); });
}

attempt channel::try_drain() {
  std::array<char, tls_session::max_record_size> room;
  while (socket_.is_open() && drained_ < drain_limit) {
    error_code error;
    drained_ += socket_.read_some(asio::buffer(room), error);
    if (error == asio::error::would_block || error == asio::error::try_again) {
      return {progress::wants_input, 0, {}};
    }
    if (error) return failure(error);
  }
  return {};
}

void channel::start_deadline(duration limit) {
  ++deadline_;
  deadline_passed_ = false;
  if (limit == duration::zero()) return;
  timer_.expires_after(limit);
  timer_.async_wait([self = weak_from_this(), expected = deadline_](const error_code& error) {
    const std::shared_ptr<channel> alive = self.lock();
    if (error || !alive) return;
    const std::lock_guard lock(alive->mutex_);
    if (alive->deadline_ != expected) return;
    alive->deadline_passed_ = true;
    error_code ignored;
    alive->socket_.cancel(ignored);
  });
}

void channel::end_deadline() {
  ++deadline_;
  deadline_passed_ = false;
  timer_.cancel();
}

}  // namespace pion::tcp::detail
