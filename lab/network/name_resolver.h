// The machine's resolver: its own name, localhost, the hosts file, DNS, in this order.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "machine/adapters.h"

namespace Lab {

struct Resolution {
  std::uint32_t error = 0;               ///< A code of Winsock; 0 for success.
  std::vector<SocketAddress> addresses;  ///< In the order of the source, each once.
};

/// \param name         Empty for the machine itself.
/// \param family       AF_INET, AF_INET6, or AF_UNSPEC for both.
/// \param numericOnly  Nobody is asked: an address is all that will do.
Resolution ResolveName(const std::wstring& name, int family, bool numericOnly);

}  // namespace Lab
