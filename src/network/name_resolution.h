// Addresses of names, and the machine's own name.
#pragma once

#include <string>

#include "network/address_texts.h"

namespace Halvard::Network {

/// Tells whether \p text is an IPv4 or IPv6 address in one of its strict spellings: four decimal
/// parts without leading zeros, or IPv6 without brackets, scope, prefix length and blanks. Capital
/// letters will do.
bool IsIpLiteral(const std::wstring& text);

/// \return The machine's full DNS name; the bare host name if it has no primary suffix. Empty after
///         a failure, which is logged here.
std::wstring GetSystemFqdn();

/// Looks a name up and sorts its addresses by family, each list in the resolver's order. Loopback
/// addresses and texts with a scope are left out. Blocks as long as the resolver does.
/// \param hostName            May be an address.
/// \param[out] ipv4Addresses  Joined by "," without blanks; empty when there are none, and after a
///                            failure, which is logged here.
/// \param[out] ipv6Addresses  The same for IPv6.
void GetIPAddressesFromHostName(const std::wstring& hostName, std::wstring& ipv4Addresses,
                                std::wstring& ipv6Addresses);

/// \return The first address of \p hostName, in the resolver's order, that is no loopback address.
///         A name that has none yields the text of its last address, whatever that is: it may be
///         loopback or have a scope. Empty only when the lookup failed or no address has a text.
///
/// Failures are logged here. Blocks as long as the resolver does.
std::wstring GetIPAddressFromHostName(const std::wstring& hostName);

}  // namespace Halvard::Network
