#include "pion/tcp/channel.h"

#include <gtest/gtest.h>

#include <boost/asio/error.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl/context.hpp>
#include <boost/asio/write.hpp>
#include <chrono>
#include <memory>
#include <optional>
#include <thread>

namespace pion_test {
namespace {

namespace asio = boost::asio;
using boost::system::error_code;
using clock = std::chrono::steady_clock;

/// The server's end of a connection; the test's thread is the one that runs handlers.
class Handshake : public testing::Test {
 protected:
  static constexpr std::chrono::milliseconds kLimit{100};

  Handshake() {
    asio::ip::tcp::acceptor acceptor(service_, {asio::ip::address_v4::loopback(), 0});
    client_.connect(acceptor.local_endpoint());
    acceptor.accept(channel_->socket(), channel_->peer());
    channel_->opened();
    channel_->handshake(kLimit, [this](const error_code& error, std::size_t) { ended_ = error; });
  }
  ~Handshake() override {
    channel_->close();
    service_.run();
  }

  asio::io_context service_;
  asio::ssl::context tls_{asio::ssl::context::tls_server};
  asio::ip::tcp::socket client_{service_};
  std::shared_ptr<pion::tcp::detail::channel> channel_ =
      std::make_shared<pion::tcp::detail::channel>(service_, tls_.native_handle());
  std::optional<error_code> ended_;
};

TEST_F(Handshake, OfASilentClientEndsWithItsTime) {
  const clock::time_point begin = clock::now();
  service_.run();
  EXPECT_EQ(ended_, error_code(asio::error::operation_aborted));
  EXPECT_GE(clock::now() - begin, kLimit);
}

TEST_F(Handshake, GoesOnWhenTheThreadWasBusyWhileTheClientSent) {
  const clock::time_point begin = clock::now();
  asio::write(client_, asio::buffer("\x16\x03", 2));
  while (clock::now() - begin <= kLimit) std::this_thread::yield();
  service_.poll();
  EXPECT_FALSE(ended_.has_value()) << ended_->message();
}

}  // namespace
}  // namespace pion_test
