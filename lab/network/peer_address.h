// The other end that a program names by a socket address.
#pragma once

#include "machine/adapters.h"
#include "winsock2.h"

namespace Lab {

/// Reads an address that the program gave, and looks up where it really is.
/// \param[out] real  What the host's own call has to be given.
/// \return The Winsock code for an address that won't do; 0 for success.
DWORD FindPeer(const sockaddr* given, int length, SocketAddress& real);

}  // namespace Lab
