#include "network/host_resolver.h"

#include <netdb.h>

#include <cstring>
#include <memory>

#include "machine/text.h"
#include "network/resolver_state.h"
#include "winsock2.h"

namespace Lab {
namespace {

struct FreeList {
  void operator()(addrinfo* list) const { freeaddrinfo(list); }
};

std::uint32_t WinsockCode(int code) {
  switch (code) {
    case EAI_AGAIN:
      return WSATRY_AGAIN;
    case EAI_FAIL:
      return WSANO_RECOVERY;
    case EAI_NODATA:
      return WSANO_DATA;
    default:
      return WSAHOST_NOT_FOUND;
  }
}

SocketAddress AddressOf(const addrinfo& entry) {
  SocketAddress address{};
  std::memcpy(&address, entry.ai_addr, entry.ai_addrlen);
  return address;
}

}  // namespace

HostDns ReadHostDns() {
  const ResolverState state;
  HostDns dns;
  for (SocketAddress server : state.Servers()) {
    (server.any.sa_family == AF_INET ? server.v4.sin_port : server.v6.sin6_port) = 0;
    dns.servers.push_back(server);
  }
  for (const std::string& suffix : state.Suffixes()) dns.suffixes.push_back(ToWide(suffix));
  return dns;
}

Resolution ResolveOnHost(const std::wstring& name, int family) {
  addrinfo hints{};
  hints.ai_family = family;
  hints.ai_socktype = SOCK_STREAM;  // Else there'd be an entry for each kind of socket.
  addrinfo* list = nullptr;
  const int code = getaddrinfo(ToUtf8(name).c_str(), nullptr, &hints, &list);
  const std::unique_ptr<addrinfo, FreeList> owner(list);
  if (code != 0) return {WinsockCode(code), {}};
  Resolution found;
  for (const addrinfo* entry = list; entry != nullptr; entry = entry->ai_next) {
    found.addresses.push_back(AddressOf(*entry));
  }
  return found;
}

}  // namespace Lab
