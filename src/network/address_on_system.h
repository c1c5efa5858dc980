// Whether an address is this machine's own.
#pragma once

#include "host/windows_api.h"

namespace Halvard::Network {

/// Tells whether an adapter of this machine has the address, or it's a loopback address. Reads the
/// adapters anew each time.
/// \param length      Bytes of \p address: 16 for IPv4, 28 for IPv6.
/// \param[out] dhcp   Set when an adapter that has the address uses DHCP; never cleared.
/// \return False after a failure, too, which is logged here.
bool AddressOnSystem(const sockaddr* address, int length, bool& dhcp);

}  // namespace Halvard::Network
