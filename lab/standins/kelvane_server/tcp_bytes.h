// How much went over a TCP connection, as the kernel counts it.
#pragma once

#include <cstdint>

namespace Lab::Kelvane {

struct TcpBytes {
  std::uint64_t received = 0;
  std::uint64_t sent = 0;  ///< What the other side has acknowledged.
};

/// \return Zeros for a socket that isn't a connected one of TCP.
TcpBytes CountTcpBytes(int socket);

}  // namespace Lab::Kelvane
