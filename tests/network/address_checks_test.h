// What the tests of the checks of a name's addresses share.
#pragma once

#include <cstdint>
#include <ostream>

#include "network/address_check_counts.h"
#include "network_test.h"

namespace Halvard::Network {

inline bool operator==(const AddressCheckCounts& a, const AddressCheckCounts& b) {
  return a.total == b.total && a.onSystem == b.onSystem && a.dhcp == b.dhcp &&
         a.primaryOnSystem == b.primaryOnSystem && a.loopback == b.loopback;
}

inline void PrintTo(const AddressCheckCounts& counts, std::ostream* out) {
  *out << "{" << counts.total << ", " << counts.onSystem << ", " << counts.dhcp << ", "
       << counts.primaryOnSystem << ", " << counts.loopback << "}";
}

/// What the system says of a library that it hasn't got.
inline constexpr std::uint32_t kModuleNotFound = 126;

}  // namespace Halvard::Network
