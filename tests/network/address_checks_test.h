// What the tests of the checks of addresses share.
#pragma once

#include <initializer_list>
#include <ostream>

#include "network/address_checks.h"
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

/// A description of an adapter that DHCP gave these addresses.
inline Json::Value DhcpAdapterWith(std::initializer_list<const char*> addresses) {
  Json::Value adapter = Testing::AdapterWith(addresses);
  adapter["dhcp"] = true;
  return adapter;
}

}  // namespace Halvard::Network
