#include "test_client.h"

#include <array>
#include <boost/asio/detail/socket_ops.hpp>
#include <boost/asio/write.hpp>
#include <chrono>
#include <cstdlib>
#include <utility>

namespace pion_test {
namespace {

namespace asio = boost::asio;
using boost::system::error_code;

constexpr std::chrono::milliseconds patience{30000};

/// One for all clients, which never run it: Asio gives each service with timers a thread of its own
/// on Windows.
asio::io_context& client_service() {
  static asio::io_context service;
  return service;
}

}  // namespace

asio::ssl::context make_client_context(int version) {
  asio::ssl::context context(asio::ssl::context::tls_client);
  context.set_verify_mode(asio::ssl::verify_none);
  if (version != 0) {
    SSL_CTX_set_min_proto_version(context.native_handle(), version);
    SSL_CTX_set_max_proto_version(context.native_handle(), version);
  }
  return context;
}

bool patient_socket::wait_for_input(error_code& error) {
  const int ready = asio::detail::socket_ops::poll_read(socket_.native_handle(), 0,
                                                        static_cast<int>(patience.count()), error);
  if (ready == 0 && !error) error = asio::error::timed_out;
  return ready > 0;
}

test_client::test_client(std::uint16_t port, asio::ssl::context* tls, SSL_SESSION* resumed)
    : socket_(client_service()) {
  asio::ip::tcp::socket& socket = socket_.lowest_layer();
  socket.connect({asio::ip::address_v4::loopback(), port});
  // Each piece leaves by itself, so that the server sees the cuts.
  socket.set_option(asio::ip::tcp::no_delay(true));
  if (tls == nullptr) return;
  stream_.emplace(socket_, *tls);
  if (resumed != nullptr) SSL_set_session(stream_->native_handle(), resumed);
  stream_->handshake(asio::ssl::stream_base::client, end_);
  handshake_failed_ = end_.failed();
}

bool test_client::send(std::string_view bytes) {
  error_code failure;
  if (stream_) {
    asio::write(*stream_, asio::buffer(bytes), failure);
  } else {
    asio::write(socket_, asio::buffer(bytes), failure);
  }
  return !failure;
}

void test_client::end_sending() {
  error_code ignored;
  socket_.lowest_layer().shutdown(asio::ip::tcp::socket::shutdown_send, ignored);
}

error_code test_client::say_goodbye() {
  stream_->shutdown(end_);
  return end_;
}

void test_client::abort() {
  socket_.lowest_layer().set_option(asio::socket_base::linger(true, 0));
  socket_.lowest_layer().close();
}

void test_client::close() { socket_.lowest_layer().close(); }

bool test_client::read_more() {
  std::array<char, 4096> buffer;
  const std::size_t bytes = stream_ ? stream_->read_some(asio::buffer(buffer), end_)
                                    : socket_.read_some(asio::buffer(buffer), end_);
  received_.append(buffer.data(), bytes);
  return !end_;
}

std::string test_client::read_all() {
  while (read_more()) {
  }
  return std::exchange(received_, {});
}

std::string test_client::read_until(std::string_view ending) {
  std::size_t found = received_.find(ending);
  while (found == std::string::npos && read_more()) found = received_.find(ending);
  const std::size_t size = found == std::string::npos ? received_.size() : found + ending.size();
  std::string taken = received_.substr(0, size);
  received_.erase(0, size);
  return taken;
}

std::string test_client::read_response() {
  std::string response = read_until("\r\n\r\n");
  constexpr std::string_view name = "Content-Length: ";
  const std::size_t at = response.find(name);
  if (at == std::string::npos) return response;
  const std::size_t length = std::strtoul(response.c_str() + at + name.size(), nullptr, 10);
  while (received_.size() < length && read_more()) {
  }
  response += received_.substr(0, length);
  received_.erase(0, length);
  return response;
}

}  // namespace pion_test
