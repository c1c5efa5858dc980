// The host's own resolver, in place of described names.
#pragma once

#include <string>
#include <vector>

#include "network/name_resolver.h"

namespace Lab {

/// What the host's resolver is configured with.
struct HostDns {
  std::vector<SocketAddress> servers;  ///< Without ports.
  std::vector<std::wstring> suffixes;
};
HostDns ReadHostDns();

/// Looks a name up wherever the host looks, its hosts file included.
/// \param family  AF_INET, AF_INET6, or AF_UNSPEC for both.
Resolution ResolveOnHost(const std::wstring& name, int family);

}  // namespace Lab
