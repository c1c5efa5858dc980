// Texts of addresses in the system's spelling, which isn't quite inet_ntop's.
#pragma once

#include <netinet/in.h>

#include <string>

namespace Lab {

/// \param address  IPv4 or IPv6.
/// \return The numeric text, with "%" and the scope as a number where there is one, without a port.
std::string AddressText(const sockaddr* address);

/// The same with the port where there is one: "192.0.2.20:123", "[fe80::1%3]:123".
std::string EndPointText(const sockaddr* address);

}  // namespace Lab
