// Whether an address is written the one way that all programs agree on.
#pragma once

#include <string>

namespace Halvard::Network {

/// Parses \p text with the system's strict parser of the family, which is looked up in ntdll.dll.
/// \param ipv4  The family: IPv4, or else IPv6.
/// \return False for an address that only a lax parser takes, as "127.1" or "fe80::1%3". True as
///         well when the parsers can't be had. Logged here.
bool IsCanonicalAddress(const std::wstring& text, bool ipv4);

}  // namespace Halvard::Network
