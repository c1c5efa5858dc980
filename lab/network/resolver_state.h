// A state of the host's resolver library, and the DNS servers in it.
#pragma once

#include <arpa/nameser.h>
#include <netinet/in.h>
#include <resolv.h>

// An access right on the machine.
#undef DELETE

#include <string>
#include <vector>

#include "machine/adapters.h"

namespace Lab {

/// Knows from the start what the host's configuration says.
class ResolverState {
 public:
  ResolverState();
  ResolverState(const ResolverState&) = delete;
  ResolverState& operator=(const ResolverState&) = delete;
  ~ResolverState();

  /// For the functions of the library.
  res_state Get() { return &state_; }

  std::vector<SocketAddress> Servers() const;
  std::vector<std::string> Suffixes() const;

  /// Has the library ask this server, at this port, and nobody else. To be called before anything
  /// is asked.
  void UseServer(const SocketAddress& server);

 private:
  /// Forgets the servers that the library keeps by pointer.
  void FreeServers();

  struct __res_state state_ {};
};

}  // namespace Lab
