// What the host's kernel knows of its network: interfaces, addresses and gateways.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "machine/adapters.h"

namespace Lab {

struct HostLink {
  std::uint32_t index = 0;
  std::string name;        ///< "eth0"
  std::uint16_t type = 0;  ///< By the numbers of ARPHRD_ETHER and its kin.
  std::string address;     ///< Its bytes; not every type has one.
};

struct HostAddress {
  std::uint32_t link = 0;
  SocketAddress address;  ///< One of the link alone has the link's index for a scope.
  std::uint8_t prefixLength = 0;
  std::uint32_t flags = 0;  ///< Bits of IFA_F_PERMANENT and its kin.
};

/// The way to everywhere else over a link.
struct HostGateway {
  std::uint32_t link = 0;
  SocketAddress address;
};

// In the kernel's order. Empty as well when the kernel doesn't answer.

std::vector<HostLink> ReadHostLinks();
std::vector<HostAddress> ReadHostAddresses();
std::vector<HostGateway> ReadHostGateways();

}  // namespace Lab
