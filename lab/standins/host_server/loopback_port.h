// Ports of the host's loopback for the servers of a stand-in.
#pragma once

#include <netinet/in.h>

#include <cstdint>

namespace Lab {

/// \return 127.0.0.1 with the port.
sockaddr_in Loopback(std::uint16_t port);

/// \return A TCP port of 127.0.0.1 that nobody has at the moment. Another program may take it.
std::uint16_t FreeLoopbackPort();

/// \return True when somebody accepts connections there.
bool ListensOnLoopback(std::uint16_t port);

}  // namespace Lab
