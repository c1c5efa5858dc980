// Which addresses of a name are this machine's own: as the resolver answers, and as DNS does.
#pragma once

#include <cstdint>
#include <string>

#include "host/windows_api.h"

namespace Halvard::Network {

/// What the checks of one family add up. Zeroed by the caller before each of them.
struct AddressCheckCounts {
  std::uint32_t total = 0;       ///< Addresses that were looked at.
  std::uint32_t onSystem = 0;    ///< Of these, on this machine.
  std::uint32_t dhcp = 0;        ///< Of those, on an adapter with DHCP.
  bool primaryOnSystem = false;  ///< The first address of the answer is on this machine,
  bool loopback = false;         ///< and it's a loopback address.
};

/// Tells whether an adapter of this machine has the address, or it's a loopback address. Reads the
/// adapters anew each time.
/// \param length      Bytes of \p address: 16 for IPv4, 28 for IPv6.
/// \param[out] dhcp   Set when an adapter that has the address uses DHCP; never cleared.
/// \return False after a failure, too, which is logged here.
bool AddressOnSystem(const sockaddr* address, int length, bool& dhcp);

/// Looks a name up with the system's resolver and tells by the counts which of its addresses are on
/// this machine.
/// \param addressOnly  \p name has to be an address; a name fails then.
/// \param ipv4         The family: IPv4, or else IPv6.
/// \param counts       Added to; may be null. Untouched when the answer is false.
/// \return True when the lookup gave an answer, whatever it was: read primaryOnSystem to know
///         whether the name is usable. An address in a spelling of its own ("127.1") is an answer
///         too, without counts. Logged here.
bool CheckHostNameOrAddr(const std::wstring& name, bool addressOnly, bool ipv4,
                         AddressCheckCounts* counts);

/// Asks DNS servers for the name, past the hosts file and the resolver's cache. A name that is an
/// alias never has a primary here, since the first record of the answer is no address then.
/// \param ipv4    The family: IPv4, or else IPv6.
/// \param counts  Added to, but for loopback; may be null. Untouched when the answer is false.
/// \return True when the servers answered, even without an address. Logged here.
///
/// On Windows 7 and Server 2008 R2 the resolver's cache is flushed behind the query.
bool IsFQDN(const std::wstring& name, bool ipv4, AddressCheckCounts* counts);

}  // namespace Halvard::Network
