// Ports of the host's loopback for the servers of a stand-in.
#pragma once

#include <cstdint>

namespace Lab {

/// \return A TCP port of 127.0.0.1 that nobody has at the moment. Another program may take it.
std::uint16_t FreeLoopbackPort();

/// \return True when somebody accepts connections there.
bool ListensOnLoopback(std::uint16_t port);

}  // namespace Lab
