#include <gtest/gtest.h>

#include <boost/asio/post.hpp>
#include <boost/asio/read.hpp>
#include <boost/asio/write.hpp>

#include "no_descriptors.h"
#include "server_fixture.h"

namespace pion_test {
namespace {

namespace asio = boost::asio;

class ServerWithoutDescriptors : public server_fixture {
 protected:
  /// Returns once the server's thread has looked for what happens on its sockets.
  void let_server_look() {
    for (int i = 0; i < 3; ++i) {
      gate looked;
      asio::post(scheduler_.get_io_service(), [&looked] { looked.open(); });
      ASSERT_TRUE(looked.wait());
    }
  }
};

TEST_F(ServerWithoutDescriptors, AcceptsAgainOnceThereIsOne) {
  server_->add_resource("/api", echo);
  const std::uint16_t port = start();
  asio::io_context service;
  asio::ip::tcp::socket client(service, asio::ip::tcp::v4());
  {
    const NoDescriptors none;
    client.connect({asio::ip::address_v4::loopback(), port});
    let_server_look();
    EXPECT_EQ(server_->get_connections(), 0u);
  }
  const std::string request = "GET /api HTTP/1.1\r\nConnection: close\r\n\r\n";
  asio::write(client, asio::buffer(request));
  std::string response;
  boost::system::error_code end;
  asio::read(client, asio::dynamic_buffer(response), end);
  EXPECT_EQ(content_of(response), "GET /api ");
}

}  // namespace
}  // namespace pion_test
