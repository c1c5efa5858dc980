#pragma once

#include <boost/asio/error.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl/context.hpp>
#include <boost/asio/ssl/stream.hpp>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace pion_test {

/// A blocking socket whose reads give up with timed_out after a time that no healthy server needs.
class patient_socket {
 public:
  using lowest_layer_type = boost::asio::ip::tcp::socket;
  using executor_type = lowest_layer_type::executor_type;

  explicit patient_socket(boost::asio::io_context& service) : socket_(service) {}
  lowest_layer_type& lowest_layer() { return socket_; }
  executor_type get_executor() { return socket_.get_executor(); }

  template <typename Buffers>
  std::size_t read_some(const Buffers& buffers, boost::system::error_code& error) {
    if (!wait_for_input(error)) return 0;
    return socket_.read_some(buffers, error);
  }
  template <typename Buffers>
  std::size_t write_some(const Buffers& buffers, boost::system::error_code& error) {
    return socket_.write_some(buffers, error);
  }

 private:
  bool wait_for_input(boost::system::error_code& error);

  lowest_layer_type socket_;
};

/// A client that sends bytes as they are and tells what comes back. Every wait ends by itself after
/// a time that no healthy server needs.
class test_client {
 public:
  /// Plain text or TLS, set by the caller in the context.
  explicit test_client(std::uint16_t port, boost::asio::ssl::context* tls = nullptr,
                       SSL_SESSION* resumed = nullptr);

  /// \return False if the server has closed.
  bool send(std::string_view bytes);
  /// Ends the sending side, the socket's only.
  void end_sending();
  /// Ends TLS in order and waits until the server has done so too.
  /// \return No error once it has.
  boost::system::error_code say_goodbye();
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
  bool timed_out() const { return end_ == boost::asio::error::timed_out; }

  SSL* ssl() { return stream_ ? stream_->native_handle() : nullptr; }
  bool handshake_failed() const { return handshake_failed_; }

 private:
  bool read_more();

  patient_socket socket_;
  std::optional<boost::asio::ssl::stream<patient_socket&>> stream_;
  std::string received_;
  boost::system::error_code end_;
  bool handshake_failed_ = false;
};

/// A context that trusts everybody, limited to one version if \p version is given.
boost::asio::ssl::context make_client_context(int version = 0);

}  // namespace pion_test
