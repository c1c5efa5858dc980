#include <array>
#include <string>

#include "datagram_peer.h"
#include "host/unique_resource.h"
#include "support.h"

namespace {

using Halvard::Host::UniqueSocket;
using WindowsApi::DatagramPeer;

constexpr DWORD kShortTimeout = 50;

class Datagrams : public testing::Test {
 protected:
  Datagrams() : socket_(socket(AF_INET, SOCK_DGRAM, IPPROTO_UDP)) {}

  static int Send(SOCKET s, sockaddr_in address, int addressLength = sizeof(sockaddr_in)) {
    constexpr char kText[] = "time?";
    return sendto(s, kText, 5, 0, reinterpret_cast<const sockaddr*>(&address), addressLength);
  }
  static int SetTimeout(SOCKET s, DWORD milliseconds, int length = sizeof(DWORD)) {
    return setsockopt(s, SOL_SOCKET, SO_RCVTIMEO, reinterpret_cast<const char*>(&milliseconds),
                      length);
  }
  int Receive() {
    return recvfrom(socket_.Get(), buffer_.data(), static_cast<int>(buffer_.size()), 0, nullptr,
                    nullptr);
  }
  std::string Text(int length) const { return {buffer_.data(), static_cast<std::size_t>(length)}; }

  UniqueSocket socket_;
  std::array<char, 8> buffer_ = {};
};

TEST_F(Datagrams, GoThereAndBack) {
  const DatagramPeer peer("now");
  ASSERT_TRUE(socket_);
  EXPECT_EQ(Send(socket_.Get(), peer.Address()), 5);
  EXPECT_EQ(SetTimeout(socket_.Get(), 30'000), 0);
  const int received = Receive();
  ASSERT_EQ(received, 3);
  EXPECT_EQ(Text(received), "now");
}

TEST_F(Datagrams, EmptyOneIsReceivedAsSuch) {
  const DatagramPeer peer("");
  (void)Send(socket_.Get(), peer.Address());
  (void)SetTimeout(socket_.Get(), 30'000);
  EXPECT_EQ(Receive(), 0);
}

TEST_F(Datagrams, LongerOneThanTheBufferFillsItAndFails) {
  const DatagramPeer peer("much too late");
  (void)Send(socket_.Get(), peer.Address());
  (void)SetTimeout(socket_.Get(), 30'000);
  EXPECT_EQ(Receive(), SOCKET_ERROR);
  EXPECT_EQ(WSAGetLastError(), WSAEMSGSIZE);
  EXPECT_EQ(Text(8), "much too");
}

TEST_F(Datagrams, SilenceEndsWithTheTimeout) {
  const DatagramPeer silent(std::nullopt);
  (void)Send(socket_.Get(), silent.Address());
  EXPECT_EQ(SetTimeout(socket_.Get(), kShortTimeout), 0);
  EXPECT_EQ(Receive(), SOCKET_ERROR);
  EXPECT_EQ(WSAGetLastError(), WSAETIMEDOUT);
}

TEST_F(Datagrams, PortThatNobodyListensOnResets) {
  SKIP_ON_WINE("recvfrom of Wine doesn't see that a port is unreachable");
  sockaddr_in closed = DatagramPeer(std::nullopt).Address();
  (void)Send(socket_.Get(), closed);
  (void)SetTimeout(socket_.Get(), 30'000);
  EXPECT_EQ(Receive(), SOCKET_ERROR);
  EXPECT_EQ(WSAGetLastError(), WSAECONNRESET);
}

TEST_F(Datagrams, SocketThatSentNothingCannotReceive) {
  SKIP_ON_WINE("recvfrom of Wine waits on a socket that was never bound");
  EXPECT_EQ(Receive(), SOCKET_ERROR);
  EXPECT_EQ(WSAGetLastError(), WSAEINVAL);
}

TEST_F(Datagrams, AddressHasToBeWhole) {
  const sockaddr_in address = DatagramPeer("").Address();
  EXPECT_EQ(Send(socket_.Get(), address, 8), SOCKET_ERROR);
  EXPECT_EQ(WSAGetLastError(), WSAEFAULT);
}

TEST_F(Datagrams, TimeoutHasFourBytes) {
  EXPECT_EQ(SetTimeout(socket_.Get(), kShortTimeout, 2), SOCKET_ERROR);
  EXPECT_EQ(WSAGetLastError(), WSAEFAULT);
}

TEST_F(Datagrams, NoSocketCanDoNothing) {
  const sockaddr_in address = DatagramPeer("").Address();
  EXPECT_EQ(Send(INVALID_SOCKET, address), SOCKET_ERROR);
  EXPECT_EQ(WSAGetLastError(), WSAENOTSOCK);
  EXPECT_EQ(SetTimeout(INVALID_SOCKET, kShortTimeout), SOCKET_ERROR);
  EXPECT_EQ(WSAGetLastError(), WSAENOTSOCK);
  EXPECT_EQ(closesocket(INVALID_SOCKET), SOCKET_ERROR);
  EXPECT_EQ(WSAGetLastError(), WSAENOTSOCK);
  socket_.Reset();
  EXPECT_EQ(Receive(), SOCKET_ERROR);
  EXPECT_EQ(WSAGetLastError(), WSAENOTSOCK);
}

TEST_F(Datagrams, SocketClosesOnce) {
  const SOCKET closed = socket_.Detach();
  EXPECT_EQ(closesocket(closed), 0);
  EXPECT_EQ(closesocket(closed), SOCKET_ERROR);
  EXPECT_EQ(WSAGetLastError(), WSAENOTSOCK);
}

}  // namespace
