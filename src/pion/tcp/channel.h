#pragma once

#include <atomic>
#include <boost/asio/buffer.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include "pion/tcp/tls_session.h"

namespace pion::tcp::detail {

/// Receives the end of an operation: its error and the bytes that it moved.
using io_handler = std::function<void(const boost::system::error_code&, std::size_t)>;

/// One accepted socket, plain or TLS, which every thread may use and close at any time.
///
/// A lock guards the socket, the TLS session and the timer, and is held only for attempts that
/// don't block; so a thread that closes never waits for a handler of another one. Handlers run on
/// the scheduler's threads, never inside the call that is given them, and without the lock. There
/// may be one read (or the handshake) and one write at a time.
class channel : public std::enable_shared_from_this<channel> {
 public:
  using duration = std::chrono::steady_clock::duration;

  /// \param context  The TLS settings, or null for plain text. Counted by OpenSSL itself.
  channel(boost::asio::io_context& service, SSL_CTX* context);
  ~channel();
  channel(const channel&) = delete;
  channel& operator=(const channel&) = delete;

  /// The socket for an accept, and the peer's address that goes with it. Nothing else may be called
  /// before opened().
  boost::asio::ip::tcp::socket& socket() { return socket_; }
  boost::asio::ip::tcp::endpoint& peer() { return peer_; }
  const boost::asio::ip::tcp::endpoint& peer() const { return peer_; }

  /// The accept has succeeded: makes the socket ready. A failure closes it.
  void opened();

  /// True until the socket is closed on this side; says nothing about the peer.
  bool is_open() const noexcept { return open_; }

  /// \param limit  How long each wait for the peer may last, as in read_some().
  void handshake(duration limit, io_handler handler);

  /// Reads some bytes. \param limit  How long each wait for the peer may last; zero means for ever.
  /// The end of the time shows as operation_aborted.
  void read_some(boost::asio::mutable_buffer target, duration limit, io_handler handler);

  /// Writes all of \p buffers, whose bytes have to stay until the handler is called. Headers and
  /// body share TLS records. A write that fails closes the socket. A second one beside a running
  /// one fails with already_started.
  /// \param last  Nothing will be written behind it, so that the goodbye may go along.
  void write(std::vector<boost::asio::const_buffer> buffers, bool last, io_handler handler);

  /// Ends the operations that wait with operation_aborted.
  void cancel();

  /// Closes the socket at once; running operations fail.
  void close();

  /// Keeps \p token until the socket is closed and the channel gone.
  void attach(std::shared_ptr<void> token) { token_ = std::move(token); }

  /// Says goodbye, ends the sending side and closes.
  /// \param inputPending  The peer may still be sending. Its bytes, and those that have arrived
  ///        unasked, are then read away for a while first, since closing over unread input makes
  ///        the system reset the connection, and the reset can overtake the answer.
  void close_gracefully(bool inputPending);

 private:
  using attempt_function = std::function<attempt(channel&)>;
  struct outgoing;

  void start(duration limit, attempt_function next, io_handler handler);
  void resume(duration limit, attempt_function next, io_handler handler,
              const boost::system::error_code& error);
  template <typename Handler>
  void wait_for(progress direction, Handler handler);

  attempt try_handshake();
  attempt try_read(boost::asio::mutable_buffer target);
  attempt try_write(outgoing& data);
  attempt encrypt_all(outgoing& data);
  void resume_write(std::shared_ptr<outgoing> data, const boost::system::error_code& error);

  void drain(const boost::system::error_code& error);
  attempt try_drain();

  void start_deadline(duration limit);
  void end_deadline();
  void close_locked();
  void close_socket();

  std::shared_ptr<void> token_;  // First, so that it goes last.
  boost::asio::io_context& service_;
  mutable std::mutex mutex_;
  std::atomic<bool> open_ = false;
  boost::asio::ip::tcp::socket socket_;
  boost::asio::ip::tcp::endpoint peer_;
  std::unique_ptr<tls_session> session_;
  SSL_CTX* context_;
  boost::asio::steady_timer timer_;
  std::uint64_t deadline_ = 0;
  bool deadline_passed_ = false;
  bool writing_ = false;
  bool draining_ = false;
  std::size_t drained_ = 0;
};

}  // namespace pion::tcp::detail
