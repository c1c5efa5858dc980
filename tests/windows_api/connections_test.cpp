#include <gmock/gmock.h>

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>

#include "host/unique_resource.h"
#include "support.h"

namespace {

using boost::asio::ip::address_v4;
using boost::asio::ip::tcp;
using Halvard::Host::UniqueSocket;

sockaddr_in Loopback(unsigned short port) {
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(port);
  return address;
}

class Connections : public testing::Test {
 protected:
  Connections()
      : listener_(service_, tcp::endpoint(address_v4::loopback(), 0)),
        socket_(socket(AF_INET, SOCK_STREAM, IPPROTO_TCP)) {}

  unsigned short Port() { return listener_.local_endpoint().port(); }
  int Connect(sockaddr_in address) {
    return connect(socket_.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address));
  }

  boost::asio::io_context service_;
  tcp::acceptor listener_;
  UniqueSocket socket_;
};

TEST_F(Connections, ReachWhoListens) {
  ASSERT_TRUE(socket_);
  EXPECT_EQ(Connect(Loopback(Port())), 0);
}

TEST_F(Connections, AreRefusedWhereNobodyListens) {
  const unsigned short port = Port();
  listener_.close();
  EXPECT_EQ(Connect(Loopback(port)), SOCKET_ERROR);
  EXPECT_EQ(WSAGetLastError(), WSAECONNREFUSED);
}

TEST_F(Connections, HaveNobodyAtTheUnspecifiedAddress) {
  SKIP_ON_WINE("connect of Wine takes 0.0.0.0 for loopback");
  sockaddr_in nobody = Loopback(Port());
  nobody.sin_addr.s_addr = INADDR_ANY;
  EXPECT_EQ(Connect(nobody), SOCKET_ERROR);
  EXPECT_EQ(WSAGetLastError(), WSAEADDRNOTAVAIL);
}

TEST_F(Connections, ReachNobodyAtTheAddressThatIsNone) {
  sockaddr_in none = Loopback(Port());
  none.sin_addr.s_addr = inet_addr("fe80::1%3");
  EXPECT_EQ(Connect(none), SOCKET_ERROR);
  EXPECT_THAT(WSAGetLastError(), testing::AnyOf(WSAENETUNREACH, WSAEADDRNOTAVAIL));
}

TEST_F(Connections, NeedAnAddressOfTheSocketsFamily) {
  SKIP_ON_WINE("connect of Wine calls it unsupported in another way");
  sockaddr_in6 address = {};
  address.sin6_family = AF_INET6;
  address.sin6_addr.s6_addr[15] = 1;
  address.sin6_port = htons(Port());
  EXPECT_EQ(connect(socket_.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)),
            SOCKET_ERROR);
  EXPECT_EQ(WSAGetLastError(), WSAEAFNOSUPPORT);
}

TEST_F(Connections, NeedAWholeAddress) {
  SKIP_ON_WINE("connect of Wine takes a short address for one that can't be reached");
  const sockaddr_in address = Loopback(Port());
  EXPECT_EQ(connect(socket_.Get(), reinterpret_cast<const sockaddr*>(&address), 8), SOCKET_ERROR);
  EXPECT_EQ(WSAGetLastError(), WSAEFAULT);
}

TEST_F(Connections, NeedASocket) {
  socket_.Reset();
  EXPECT_EQ(Connect(Loopback(Port())), SOCKET_ERROR);
  EXPECT_EQ(WSAGetLastError(), WSAENOTSOCK);
}

TEST_F(Connections, AreMadeOnce) {
  ASSERT_EQ(Connect(Loopback(Port())), 0);
  EXPECT_EQ(Connect(Loopback(Port())), SOCKET_ERROR);
  EXPECT_EQ(WSAGetLastError(), WSAEISCONN);
}

TEST_F(Connections, CanSendWithoutDelay) {
  const DWORD on = 1;
  const auto* const value = reinterpret_cast<const char*>(&on);
  EXPECT_EQ(setsockopt(socket_.Get(), IPPROTO_TCP, TCP_NODELAY, value, sizeof(on)), 0);
  EXPECT_EQ(setsockopt(INVALID_SOCKET, IPPROTO_TCP, TCP_NODELAY, value, sizeof(on)), SOCKET_ERROR);
  EXPECT_EQ(WSAGetLastError(), WSAENOTSOCK);
}

}  // namespace
