#include "network/peer_address.h"

#include <cstring>

#include "machine/machine.h"

namespace Lab {
namespace {

in_port_t& PortOf(SocketAddress& address) {
  return address.any.sa_family == AF_INET ? address.v4.sin_port : address.v6.sin6_port;
}

SocketAddress RealAddress(SocketAddress address) {
  char text[INET6_ADDRSTRLEN] = {};
  const void* const bytes = address.any.sa_family == AF_INET
                                ? static_cast<const void*>(&address.v4.sin_addr)
                                : static_cast<const void*>(&address.v6.sin6_addr);
  inet_ntop(address.any.sa_family, bytes, text, sizeof(text));
  const HostPort named{text, ntohs(PortOf(address))};
  const HostPort real = TheMachine().Describe().addressMap.RealOf(named);
  if (real == named) return address;
  SocketAddress mapped = *ParseAddress(real.host);
  PortOf(mapped) = htons(real.port);
  return mapped;
}

}  // namespace

DWORD FindPeer(const sockaddr* given, int length, SocketAddress& real) {
  if (given == nullptr || length < static_cast<int>(sizeof(sockaddr_in))) return WSAEFAULT;
  if (given->sa_family != AF_INET && given->sa_family != AF_INET6) return WSAEAFNOSUPPORT;
  SocketAddress address = {};
  address.any.sa_family = given->sa_family;
  if (length < static_cast<int>(address.Length())) return WSAEFAULT;
  std::memcpy(&address, given, address.Length());
  real = RealAddress(address);
  return 0;
}

}  // namespace Lab
