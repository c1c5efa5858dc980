#pragma once

#include <openssl/ssl.h>

#include <boost/asio/buffer.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <cstddef>
#include <memory>
#include <string>

namespace pion::tcp::detail {

/// What came of an attempt that never blocks.
enum class progress {
  done,          ///< the attempt succeeded
  wants_input,   ///< nothing happened; try again when the socket can be read
  wants_output,  ///< nothing happened; try again when the socket can be written
  failed         ///< see the error; the stream is of no further use
};

struct attempt {
  progress state = progress::done;
  std::size_t bytes = 0;
  boost::system::error_code error;
};

/// The server's end of one TLS connection over a non-blocking socket.
///
/// Reads the socket straight into OpenSSL and collects what OpenSSL writes, so that whatever is
/// encrypted between two flushes leaves in one system call. An idle session holds no buffers, which
/// a stream with buffers of its own would (some 70 KiB for each connection).
///
/// Not synchronized: the owner calls one operation at a time.
class tls_session {
 public:
  /// The most that one TLS record carries.
  static constexpr std::size_t max_record_size = 16384;

  /// \param socket  Non-blocking; has to outlive the session.
  /// \throws std::bad_alloc if OpenSSL has no memory for the session.
  tls_session(SSL_CTX* context, boost::asio::ip::tcp::socket& socket);
  tls_session(const tls_session&) = delete;
  tls_session& operator=(const tls_session&) = delete;

  /// Goes on with the handshake. After a failure the alert for the peer waits for a flush().
  attempt handshake();

  /// Reads decrypted bytes. The peer's close_notify is boost::asio::error::eof, its silent end is
  /// boost::asio::ssl::error::stream_truncated.
  attempt read(boost::asio::mutable_buffer target);

  /// Encrypts \p data as one record, which waits for a flush().
  /// \param data  At most max_record_size bytes, not empty.
  boost::system::error_code encrypt(boost::asio::const_buffer data);

  /// Adds the close_notify alert to what waits, once, if the handshake is over and nothing failed.
  /// Nothing can be encrypted after it.
  void say_goodbye();

  /// Writes what waits to the socket, until it is done or the socket takes no more.
  attempt flush();

  /// The bytes that wait for a flush().
  std::size_t waiting() const { return outgoing_.size() - flushed_; }

 private:
  struct deleter {
    void operator()(SSL* ssl) const { SSL_free(ssl); }
  };
  friend struct bio_callbacks;

  attempt interpret(int result);
  attempt fail(int kind);
  void grant_tickets();

  boost::asio::ip::tcp::socket& socket_;
  std::unique_ptr<SSL, deleter> ssl_;
  std::string outgoing_;
  std::size_t flushed_ = 0;
  std::size_t tickets_due_ = 0;
  bool broken_ = false;
  bool goodbye_said_ = false;
  boost::system::error_code socket_error_;
};

}  // namespace pion::tcp::detail
