#include "standins/sshd/tcp_relay.h"

#include <arpa/inet.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <stdexcept>

#include "standins/host_server/loopback_port.h"

namespace Lab {
namespace {

constexpr std::size_t kPiece = 16384;

int MakeSocket() { return socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0); }

int ConnectTo(std::uint16_t port) {
  const int server = MakeSocket();
  const sockaddr_in address = Loopback(port);
  if (connect(server, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0) {
    return server;
  }
  close(server);
  return -1;
}

bool SendAll(int to, const char* bytes, std::size_t length) {
  while (length > 0) {
    const ssize_t sent = send(to, bytes, length, MSG_NOSIGNAL);
    if (sent <= 0) return false;
    bytes += sent;
    length -= static_cast<std::size_t>(sent);
  }
  return true;
}

/// Passes on what is there. \return The number of bytes; 0 at the end of the connection.
std::size_t PassSome(int from, int to, std::size_t most) {
  char piece[kPiece];
  const ssize_t received = recv(from, piece, std::min(most, kPiece), 0);
  if (received <= 0) return 0;
  const auto length = static_cast<std::size_t>(received);
  return SendAll(to, piece, length) ? length : 0;
}

}  // namespace

struct TcpRelay::Passage {
  int client;
  int server;
  std::uint64_t fromClient = 0;

  /// \return How many more bytes of the client may pass.
  std::uint64_t Left(const Limits& limits) const {
    const std::uint64_t end =
        std::min(limits.closeAfter.value_or(UINT64_MAX), limits.silentAfter.value_or(UINT64_MAX));
    return end - fromClient;
  }
};

TcpRelay::TcpRelay(const std::string& target, const Limits& limits)
    : target_(static_cast<std::uint16_t>(std::stoi(target.substr(target.rfind(':') + 1)))),
      limits_(limits),
      listener_(MakeSocket()),
      stop_(eventfd(0, EFD_CLOEXEC)) {
  sockaddr_in address = Loopback(0);
  socklen_t length = sizeof(address);
  auto* const any = reinterpret_cast<sockaddr*>(&address);
  if (bind(listener_, any, length) != 0 || listen(listener_, SOMAXCONN) != 0 ||
      getsockname(listener_, any, &length) != 0) {
    close(listener_);
    close(stop_);
    throw std::runtime_error("no port for a relay");
  }
  port_ = ntohs(address.sin_port);
  acceptor_ = std::thread([this] { Accept(); });
}

TcpRelay::~TcpRelay() {
  Close();
  acceptor_.join();
  for (std::thread& connection : connections_) connection.join();
  close(listener_);
  close(stop_);
}

std::string TcpRelay::Address() const { return "127.0.0.1:" + std::to_string(port_); }

unsigned TcpRelay::Connections() const {
  const std::lock_guard lock(mutex_);
  return static_cast<unsigned>(connections_.size());
}

void TcpRelay::WaitForSilence() {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [this] { return silent_; });
}

void TcpRelay::Close() { (void)eventfd_write(stop_, 1); }

void TcpRelay::Accept() {
  pollfd ready[] = {{listener_, POLLIN, 0}, {stop_, POLLIN, 0}};
  for (;;) {
    (void)poll(ready, 2, -1);
    if (ready[1].revents != 0) break;
    const int client = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
    if (client < 0) continue;
    const std::lock_guard lock(mutex_);
    connections_.emplace_back([this, client] { Serve(client); });
  }
  // Who comes now is refused.
  (void)shutdown(listener_, SHUT_RDWR);
}

void TcpRelay::Serve(int client) {
  Passage passage{client, ConnectTo(target_)};
  if (passage.server >= 0) {
    Pass(passage);
    close(passage.server);
  }
  close(client);
}

/// Runs until one of the ends is closed, or has to be.
void TcpRelay::Pass(Passage& passage) {
  pollfd ready[] = {{passage.client, POLLIN, 0}, {passage.server, POLLIN, 0}, {stop_, POLLIN, 0}};
  while (passage.Left(limits_) > 0) {
    (void)poll(ready, 3, -1);
    if (ready[2].revents != 0) return;
    if (ready[1].revents != 0 && PassSome(passage.server, passage.client, kPiece) == 0) return;
    if (ready[0].revents == 0) continue;
    const std::size_t passed = PassSome(passage.client, passage.server,
                                        std::min<std::uint64_t>(passage.Left(limits_), kPiece));
    if (passed == 0) return;
    passage.fromClient += passed;
    if (limits_.bytesPerSecond &&
        WaitForStop(static_cast<int>(passed * 1000 / *limits_.bytesPerSecond))) {
      return;
    }
  }
  if (!limits_.closeAfter || passage.fromClient < *limits_.closeAfter) FallSilent();
}

bool TcpRelay::WaitForStop(int milliseconds) const {
  pollfd stop{stop_, POLLIN, 0};
  return poll(&stop, 1, milliseconds) > 0;
}

/// Keeps the connection as it is until the end.
void TcpRelay::FallSilent() {
  {
    const std::lock_guard lock(mutex_);
    silent_ = true;
  }
  changed_.notify_all();
  (void)WaitForStop(-1);
}

}  // namespace Lab
