// Which addresses of a name are this machine's own, as DNS answers.
#pragma once

#include <string>

#include "network/address_check_counts.h"

namespace Halvard::Network {

/// Asks DNS servers for the name, past the hosts file and the resolver's cache. A name that is an
/// alias never has a primary here, since the first record of the answer is no address then.
/// \param ipv4    The family: IPv4, or else IPv6.
/// \param counts  Added to, but for loopback; may be null. Untouched when the answer is false.
/// \return True when the servers answered, even without an address. Logged here.
///
/// On Windows 7 and Server 2008 R2 the resolver's cache is flushed behind the query.
bool IsFQDN(const std::wstring& name, bool ipv4, AddressCheckCounts* counts);

}  // namespace Halvard::Network
