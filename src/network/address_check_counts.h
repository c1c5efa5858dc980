// What checks of a name's addresses have found out.
#pragma once

#include <cstdint>

namespace Halvard::Network {

/// What the checks of one family add up. Zeroed by the caller before each of them.
struct AddressCheckCounts {
  std::uint32_t total = 0;       ///< Addresses that were looked at.
  std::uint32_t onSystem = 0;    ///< Of these, on this machine.
  std::uint32_t dhcp = 0;        ///< Of those, on an adapter with DHCP.
  bool primaryOnSystem = false;  ///< The first address of the answer is on this machine,
  bool loopback = false;         ///< and it's a loopback address.

  void Add(const AddressCheckCounts& found) {
    total += found.total;
    onSystem += found.onSystem;
    dhcp += found.dhcp;
    primaryOnSystem = primaryOnSystem || found.primaryOnSystem;
    loopback = loopback || found.loopback;
  }
};

}  // namespace Halvard::Network
