// What Winsock keeps for a process beside the host's descriptors.
#pragma once

#include <cstdint>

#include "winsock2.h"

namespace Lab {

/// \return False when every call that needs sockets has to fail with WSANOTINITIALISED: the program
///         has neither started them nor a library that does.
bool SocketsAreStarted();

/// \return The Winsock code for an error number of a host's call on a socket.
DWORD SocketError(int hostError);

/// Keeps how long a receive may wait, in milliseconds of the machine's clock; 0 for no limit.
void SetReceiveTimeout(SOCKET socket, std::uint32_t milliseconds);

/// \return What was set; INFINITE when nothing was, or 0.
std::uint32_t ReceiveTimeout(SOCKET socket);

/// Forgets what was set: the number of a closed socket is given out again.
void ForgetSocket(SOCKET socket);

}  // namespace Lab
