// One question for the time, to one server.
#pragma once

#include <string>

namespace Halvard::Network {

/// Asks a server for the time: one datagram to UDP port 123, one try, of at most 30 seconds. What
/// comes back isn't looked at.
/// \param server  Name or address. A name is asked at its first address, loopback only if it has no
///                other.
/// \return True when anything came back. Logged here either way.
bool ValidateNTPServer(const std::wstring& server);

}  // namespace Halvard::Network
