// Texts of addresses.
#pragma once

#include <string>

#include "host/windows_api.h"

namespace Halvard::Network {

/// The numeric host text of an address, an IPv6 scope included.
/// \param address  May be null: the result is empty then, without a log line.
/// \return Empty after a failure, which is logged here.
std::wstring GetNameInfoWrapper(const SOCKET_ADDRESS& address);

/// \return "AF_INET", "AF_INET6", or "AF_UNSPEC" for anything else.
/// \param address  Not null.
std::wstring GetAddressFamilyName(const sockaddr* address);

}  // namespace Halvard::Network
