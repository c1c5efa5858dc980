// Whether a name or an address may be the system name of the migrated machine.
#pragma once

#include <string>

namespace Halvard::Network {

/// Tells whether the machine can keep \p name as its system name: it has to belong to this machine,
/// to be known to DNS if it is a name, to lead to more than loopback, and to be the machine's own
/// name if that is in a directory domain.
/// \param allowDhcp  Without it an address that DHCP gave is refused. A name whose address comes
///                   from DHCP passes either way: it survives the move.
///
/// The reason of a refusal is in the log and nowhere else. Asks the resolver and DNS servers, and
/// blocks as long as they do.
bool ValidateFqdn(const std::wstring& name, bool allowDhcp);

/// Tells whether \p name goes with the machine's membership in a directory domain: any address
/// does, any name does outside a domain, and inside one the machine's full DNS name alone, in any
/// case. A machine without a full name takes every name. Logged here.
bool ValidatePnidWithFqdnCompatibility(const std::wstring& name);

}  // namespace Halvard::Network
