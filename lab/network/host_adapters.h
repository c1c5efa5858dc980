// The host's interfaces as adapters of the machine.
#pragma once

#include <vector>

#include "machine/adapters.h"

namespace Lab {

/// Reads the host's interfaces, loopback last as the system lists them, each with its hardware
/// address, addresses and gateways, and with the DNS servers and suffixes of the host's resolver.
/// An address that isn't there for good counts as given: by DHCP, or under IPv6 by a router unless
/// it stands for itself alone. What no kernel knows is absent: DHCP servers and ids for DHCPv6.
std::vector<Adapter> ReadHostAdapters();

/// The adapters that the machine has at the moment: those of its description, or the host's if the
/// description says so.
std::vector<Adapter> CurrentAdapters();

}  // namespace Lab
