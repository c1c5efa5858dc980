#include "support/datagram_server.h"

#include <netinet/in.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <stdexcept>

namespace Lab {
namespace {

union LoopbackAddress {
  sockaddr any;
  sockaddr_in v4;
  sockaddr_in6 v6;
};

LoopbackAddress Loopback(DatagramServer::Family family) {
  LoopbackAddress address{.v6 = {}};
  if (family == DatagramServer::Family::kIPv4) {
    address.v4.sin_family = AF_INET;
    address.v4.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  } else {
    address.v6.sin6_family = AF_INET6;
    address.v6.sin6_addr = in6addr_loopback;
  }
  return address;
}

}  // namespace

DatagramServer::DatagramServer(std::optional<std::string> reply, Family family)
    : reply_(std::move(reply)), family_(family) {
  LoopbackAddress address = Loopback(family);
  socklen_t length = sizeof(address);
  socket_ = ::socket(address.any.sa_family, int{SOCK_DGRAM} | SOCK_CLOEXEC, 0);
  if (socket_ < 0 || bind(socket_, &address.any, length) != 0 ||
      getsockname(socket_, &address.any, &length) != 0) {
    close(socket_);
    throw std::runtime_error("no UDP port to be had on loopback");
  }
  port_ = ntohs(family == Family::kIPv4 ? address.v4.sin_port : address.v6.sin6_port);
  stop_ = eventfd(0, EFD_CLOEXEC);
  thread_ = std::thread([this] { Serve(); });
}

DatagramServer::~DatagramServer() {
  (void)eventfd_write(stop_, 1);
  thread_.join();
  close(socket_);
  close(stop_);
}

std::string DatagramServer::Address() const {
  return (family_ == Family::kIPv4 ? "127.0.0.1:" : "[::1]:") + std::to_string(port_);
}

std::vector<std::string> DatagramServer::Requests() const {
  const std::lock_guard lock(mutex_);
  return requests_;
}

void DatagramServer::Serve() {
  constexpr std::size_t kMostBytes = 65'536;
  for (;;) {
    std::array<pollfd, 2> ready{{{socket_, POLLIN, 0}, {stop_, POLLIN, 0}}};
    poll(ready.data(), ready.size(), -1);
    if (ready[1].revents != 0) return;
    LoopbackAddress sender{.v6 = {}};
    socklen_t length = sizeof(sender);
    std::string request(kMostBytes, '\0');
    const ssize_t received = ::recvfrom(socket_, static_cast<void*>(request.data()), request.size(),
                                        0, &sender.any, &length);
    if (received < 0) continue;
    request.resize(static_cast<std::size_t>(received));
    {
      const std::lock_guard lock(mutex_);
      requests_.push_back(std::move(request));
    }
    if (!reply_) continue;
    (void)::sendto(socket_, static_cast<const void*>(reply_->data()), reply_->size(), 0,
                   &sender.any, length);
  }
}

std::string ClosedDatagramPort() { return DatagramServer(std::nullopt).Address(); }

bool HostHasIPv6() {
  try {
    const DatagramServer probe(std::nullopt, DatagramServer::Family::kIPv6);
    return true;
  } catch (const std::runtime_error&) {
    return false;
  }
}

}  // namespace Lab
