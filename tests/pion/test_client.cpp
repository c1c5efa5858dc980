#include "test_client.h"

#include <array>
#include <boost/asio/read.hpp>
#include <boost/asio/write.hpp>
#include <cstdlib>

namespace pion_test {
namespace {

namespace asio = boost::asio;
using boost::system::error_code;

constexpr std::chrono::seconds patience{30};

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

template <typename Start>
void test_client::run(Start start) {
  start();
  service_.restart();
  service_.run_for(patience);
  timed_out_ = !service_.stopped();
  if (timed_out_) {
    // The operation has to end before what it refers to goes.
    socket_.close();
    service_.run();
  }
}

test_client::test_client(std::uint16_t port, asio::ssl::context* tls, SSL_SESSION* resumed) {
  socket_.connect({asio::ip::address_v4::loopback(), port});
  // Each piece leaves by itself, so that the server sees the cuts.
  socket_.set_option(asio::ip::tcp::no_delay(true));
  if (tls == nullptr) return;
  stream_.emplace(socket_, *tls);
  if (resumed != nullptr) SSL_set_session(stream_->native_handle(), resumed);
  run([&] {
    stream_->async_handshake(asio::ssl::stream_base::client, [&](const error_code& error) {
      handshake_failed_ = error.failed();
      end_ = error;
    });
  });
}

test_client::~test_client() = default;

bool test_client::send(std::string_view bytes) {
  error_code failure;
  const auto done = [&](const error_code& error, std::size_t) { failure = error; };
  run([&] {
    if (stream_) {
      asio::async_write(*stream_, asio::buffer(bytes), done);
    } else {
      asio::async_write(socket_, asio::buffer(bytes), done);
    }
  });
  return !failure;
}

void test_client::end_sending() {
  error_code ignored;
  socket_.shutdown(asio::ip::tcp::socket::shutdown_send, ignored);
}

void test_client::abort() {
  socket_.set_option(asio::socket_base::linger(true, 0));
  socket_.close();
}

void test_client::close() { socket_.close(); }

bool test_client::read_more() {
  std::array<char, 4096> buffer;
  const auto done = [&](const error_code& error, std::size_t bytes) {
    end_ = error;
    received_.append(buffer.data(), bytes);
  };
  run([&] {
    if (stream_) {
      stream_->async_read_some(asio::buffer(buffer), done);
    } else {
      socket_.async_read_some(asio::buffer(buffer), done);
    }
  });
  return !end_ && !timed_out_;
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
