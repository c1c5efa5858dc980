// What the calls of sockets share.
#pragma once

#include "errhandlingapi.h"
#include "winsock2.h"

namespace Lab {

/// A socket is the host's descriptor.
inline int Descriptor(SOCKET s) { return static_cast<int>(s); }

/// Sets the thread's last error. \return SOCKET_ERROR, as most of these functions fail.
inline int FailOnSocket(DWORD error) {
  SetLastError(error);
  return SOCKET_ERROR;
}

}  // namespace Lab
