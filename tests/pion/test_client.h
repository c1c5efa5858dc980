#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl/context.hpp>
#include <boost/asio/ssl/stream.hpp>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace pion_test {

/// A client that sends bytes as they are and tells what comes back. Every wait ends by itself after
/// a time that no healthy server needs.
class test_client {
 public:
  /// Plain text or TLS, set by the caller in the context.
  explicit test_client(std::uint16_t port, boost::asio::ssl::context* tls = nullptr,
                       SSL_SESSION* resumed = nullptr);
  ~test_client();

  /// \return False if the server has closed.
  bool send(std::string_view bytes);
  /// Ends the sending side, the socket's only.
  void end_sending();
  /// Closes so that the server sees a reset.
  void abort();
  void close();

  /// Reads up to the end of the connection.
  std::string read_all();
  /// Reads until \p ending has come or the connection ends.
  std::string read_until(std::string_view ending);
  /// Reads one response by its Content-Length.
  std::string read_response();
  /// What ended the last read: eof, stream_truncated, a reset; no error if nothing did.
  const boost::system::error_code& end() const { return end_; }
  /// True if the last read gave up waiting.
  bool timed_out() const { return timed_out_; }

  SSL* ssl() { return stream_ ? stream_->native_handle() : nullptr; }
  bool handshake_failed() const { return handshake_failed_; }

 private:
  bool read_more();
  template <typename Start>
  void run(Start start);

  boost::asio::io_context service_;
  boost::asio::ip::tcp::socket socket_{service_};
  std::optional<boost::asio::ssl::stream<boost::asio::ip::tcp::socket&>> stream_;
  std::string received_;
  boost::system::error_code end_;
  bool timed_out_ = false;
  bool handshake_failed_ = false;
};

/// A context that trusts everybody, limited to one version if \p version is given.
boost::asio::ssl::context make_client_context(int version = 0);

}  // namespace pion_test
