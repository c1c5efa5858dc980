#pragma once

#include <array>
#include <atomic>
#include <boost/asio/associated_executor.hpp>
#include <boost/asio/buffer.hpp>
#include <boost/asio/dispatch.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/address.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl/context.hpp>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

namespace pion::tcp {
namespace detail {
class channel;
using io_handler = std::function<void(const boost::system::error_code&, std::size_t)>;
}  // namespace detail

class connection;
using connection_ptr = std::shared_ptr<connection>;

/// One client's connection, plain or TLS.
///
/// The connection ends when finish() is called, when close() is called, or when its last user lets
/// go, whichever comes first. Handlers run on the scheduler's threads, or on the executor that is
/// associated with them, and never inside the call that takes them. There may be one read and one
/// write at a time. is_open(), cancel(), close() and finish() may be called from any thread.
class connection : public std::enable_shared_from_this<connection> {
 public:
  /// What becomes of the connection when it is finished.
  enum lifecycle_type {
    LIFECYCLE_CLOSE = 0,      ///< it is closed
    LIFECYCLE_KEEPALIVE = 1,  ///< the next request is awaited
    LIFECYCLE_PIPELINED = 2   ///< the next request has already begun to arrive
  };

  static constexpr std::size_t READ_BUFFER_SIZE = 8192;
  /// How long each step of a handshake may wait for the peer.
  static constexpr std::chrono::seconds HANDSHAKE_TIMEOUT{10};

  using read_buffer_type = std::array<char, READ_BUFFER_SIZE>;
  using finished_handler_type = std::function<void(const connection_ptr&)>;

  /// Makes a connection for a server to accept into; its lifecycle is LIFECYCLE_CLOSE.
  /// \param context  Used if \p ssl; its settings at this moment hold for the connection.
  /// \param finished  Called by finish(); may be empty.
  static connection_ptr create(boost::asio::io_context& service, boost::asio::ssl::context& context,
                               bool ssl, finished_handler_type finished);
  ~connection();
  connection(const connection&) = delete;
  connection& operator=(const connection&) = delete;

  /// True until the socket is closed on this side; says nothing about the peer.
  bool is_open() const;
  /// Closes at once, both directions, without a TLS goodbye.
  void close();
  /// Ends the operations that wait with operation_aborted.
  void cancel();
  /// Hands the connection back to its server, which awaits the next request or ends the connection.
  void finish();
  /// Ends the connection in an orderly way: goodbye, end of sending, and if input_pending() the
  /// peer's unread bytes are taken off for a while. Returns at once.
  void end();

  void set_lifecycle(lifecycle_type lifecycle) { lifecycle_ = lifecycle; }
  lifecycle_type get_lifecycle() const { return lifecycle_; }
  bool get_keep_alive() const { return lifecycle_ != LIFECYCLE_CLOSE; }
  bool get_pipelined() const { return lifecycle_ == LIFECYCLE_PIPELINED; }

  /// Whether the peer may still be sending what nobody is going to read.
  void set_input_pending(bool pending) { input_pending_ = pending; }

  bool get_ssl_flag() const { return ssl_; }

  /// Accepts a client into this connection. \p handler takes the error.
  template <typename Acceptor, typename Handler>
  void async_accept(Acceptor& acceptor, Handler handler) {
    acceptor.async_accept(socket(), peer(),
                          [self = shared_from_this(), handler = std::move(handler)](
                              const boost::system::error_code& error) mutable {
                            if (!error) self->opened();
                            handler(error);
                          });
  }

  /// Runs the server's side of the TLS handshake. \p handler takes the error.
  template <typename Handler>
  void async_handshake_server(Handler handler) {
    start_handshake([handler = std::move(handler)](const boost::system::error_code& error,
                                                   std::size_t) mutable { handler(error); });
  }

  /// Reads into the connection's own buffer. \p handler takes the error and the number of bytes.
  template <typename Handler>
  void async_read_some(Handler handler) {
    start_read(on_executor(std::move(handler)));
  }

  /// Writes all of \p buffers, whose bytes have to stay until \p handler is called with the error
  /// and the number of bytes.
  template <typename Handler>
  void async_write(std::vector<boost::asio::const_buffer> buffers, Handler handler) {
    start_write(std::move(buffers), false, on_executor(std::move(handler)));
  }

  /// The same for what ends the sending: the TLS goodbye goes out with it.
  template <typename Handler>
  void async_write_last(std::vector<boost::asio::const_buffer> buffers, Handler handler) {
    start_write(std::move(buffers), true, on_executor(std::move(handler)));
  }

  /// Calls \p handler with the error and 0 bytes, later and on its own executor.
  template <typename Handler>
  void post_failure(const boost::system::error_code& error, Handler handler) {
    start_failure(error, on_executor(std::move(handler)));
  }

  /// How long a single read may wait; zero means for ever.
  void set_read_timeout(std::chrono::milliseconds limit) { read_timeout_ = limit; }

  read_buffer_type& get_read_buffer() { return read_buffer_; }
  /// Marks the part of the read buffer that nobody has used yet.
  void save_read_pos(const char* begin, const char* end);
  /// The part that save_read_pos() marked; empty if there is none. The mark is taken away.
  std::string_view take_unread();

  /// Of the peer; default values if there is none.
  boost::asio::ip::address get_remote_ip() const;
  std::uint16_t get_remote_port() const;

  boost::asio::io_context& get_io_service() { return service_; }

  /// Keeps \p token until the connection is finished or gone; this is how the server counts it.
  void attach(std::shared_ptr<void> token) { token_ = std::move(token); }
  /// Gives the token back. From then on the server doesn't wait for the connection.
  void detach();
  const std::shared_ptr<detail::channel>& get_channel() const { return channel_; }

 private:
  connection(boost::asio::io_context& service, SSL_CTX* context, finished_handler_type finished);

  template <typename Handler>
  detail::io_handler on_executor(Handler handler) {
    const auto executor = boost::asio::get_associated_executor(handler, service_.get_executor());
    return [executor, handler = std::move(handler)](const boost::system::error_code& error,
                                                    std::size_t bytes) mutable {
      boost::asio::dispatch(executor, [handler = std::move(handler), error, bytes]() mutable {
        handler(error, bytes);
      });
    };
  }

  boost::asio::ip::tcp::socket& socket();
  boost::asio::ip::tcp::endpoint& peer();
  void opened();
  void start_handshake(detail::io_handler handler);
  void start_read(detail::io_handler handler);
  void start_write(std::vector<boost::asio::const_buffer> buffers, bool last,
                   detail::io_handler handler);
  void start_failure(const boost::system::error_code& error, detail::io_handler handler);

  boost::asio::io_context& service_;
  std::shared_ptr<detail::channel> channel_;
  finished_handler_type finished_;
  std::shared_ptr<void> token_;
  std::atomic_flag detached_;
  const bool ssl_;
  std::atomic<lifecycle_type> lifecycle_ = LIFECYCLE_CLOSE;
  std::atomic<bool> input_pending_ = false;
  std::chrono::milliseconds read_timeout_{0};
  const char* unread_begin_ = nullptr;
  const char* unread_end_ = nullptr;
  read_buffer_type read_buffer_;  // Not initialized: an idle connection doesn't touch it.
};

}  // namespace pion::tcp
