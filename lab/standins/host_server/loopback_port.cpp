#include "standins/host_server/loopback_port.h"

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

namespace Lab {

sockaddr_in Loopback(std::uint16_t port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(port);
  return address;
}

std::uint16_t FreeLoopbackPort() {
  const int probe = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address = Loopback(0);
  socklen_t length = sizeof(address);
  (void)bind(probe, reinterpret_cast<sockaddr*>(&address), length);
  (void)getsockname(probe, reinterpret_cast<sockaddr*>(&address), &length);
  close(probe);
  return ntohs(address.sin_port);
}

bool ListensOnLoopback(std::uint16_t port) {
  const int probe = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const sockaddr_in address = Loopback(port);
  const int result = connect(probe, reinterpret_cast<const sockaddr*>(&address), sizeof(address));
  close(probe);
  return result == 0;
}

}  // namespace Lab
