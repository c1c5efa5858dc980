// Addresses that never leave the machine.
#pragma once

#include <algorithm>
#include <cstdint>
#include <iterator>

#include "host/windows_api.h"

namespace Halvard::Network {

/// Any address of 127.0.0.0/8.
inline bool IsLoopback(const in_addr& address) {
  constexpr std::uint32_t kLoopbackNetwork = 127;
  return ntohl(address.s_addr) >> 24 == kLoopbackNetwork;
}

/// Exactly ::1.
inline bool IsLoopback(const in6_addr& address) {
  const auto* const last = std::end(address.s6_addr) - 1;
  return *last == 1 && std::all_of(std::begin(address.s6_addr), last,
                                   [](unsigned char byte) { return byte == 0; });
}

/// \param address  Of any family; only IPv4 and IPv6 have loopback addresses.
inline bool IsLoopback(const sockaddr* address) {
  if (address->sa_family == AF_INET) {
    return IsLoopback(reinterpret_cast<const sockaddr_in*>(address)->sin_addr);
  }
  return address->sa_family == AF_INET6 &&
         IsLoopback(reinterpret_cast<const sockaddr_in6*>(address)->sin6_addr);
}

}  // namespace Halvard::Network
