#include "network/resolver_state.h"

#include <cstdlib>
#include <cstring>
#include <new>

namespace Lab {
namespace {

// The library keeps IPv4 servers in its old list. One of another family has family 0 there and
// stands beside it, in memory of malloc's.
sockaddr_in6*& OtherServer(struct __res_state& state, int index) {
  return state._u._ext.nsaddrs[index];
}

}  // namespace

ResolverState::ResolverState() { (void)res_ninit(&state_); }

ResolverState::~ResolverState() {
  res_nclose(&state_);
  // A state that was never asked keeps its servers.
  FreeServers();
}

std::vector<SocketAddress> ResolverState::Servers() const {
  std::vector<SocketAddress> servers;
  for (int i = 0; i < state_.nscount; ++i) {
    SocketAddress server{};
    const sockaddr_in& old = state_.nsaddr_list[i];
    const sockaddr_in6* const other = state_._u._ext.nsaddrs[i];
    if (old.sin_family == AF_INET) {
      server.v4 = old;
    } else if (other != nullptr) {
      server.v6 = *other;
    } else {
      continue;
    }
    servers.push_back(server);
  }
  return servers;
}

std::vector<std::string> ResolverState::Suffixes() const {
  std::vector<std::string> suffixes;
  for (const char* const suffix : state_.dnsrch) {
    if (suffix == nullptr) break;
    suffixes.emplace_back(suffix);
  }
  return suffixes;
}

void ResolverState::UseServer(const SocketAddress& server) {
  FreeServers();
  state_.nscount = 1;
  state_.nsaddr_list[0] = {};
  if (server.any.sa_family == AF_INET) {
    state_.nsaddr_list[0] = server.v4;
    return;
  }
  void* const memory = std::malloc(sizeof(sockaddr_in6));
  if (memory == nullptr) throw std::bad_alloc();
  std::memcpy(memory, &server.v6, sizeof(sockaddr_in6));
  OtherServer(state_, 0) = static_cast<sockaddr_in6*>(memory);
}

void ResolverState::FreeServers() {
  for (int i = 0; i < MAXNS; ++i) {
    std::free(OtherServer(state_, i));
    OtherServer(state_, i) = nullptr;
  }
}

}  // namespace Lab
