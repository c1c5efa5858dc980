#include "tcp_bytes.h"

// The kernel's own header: the C library's has an older form of the structure and doesn't go with
// it.
#include <linux/tcp.h>
#include <netinet/in.h>
#include <sys/socket.h>

namespace Lab::Kelvane {

TcpBytes CountTcpBytes(int socket) {
  tcp_info info{};
  socklen_t size = sizeof(info);
  if (getsockopt(socket, IPPROTO_TCP, TCP_INFO, &info, &size) != 0) return {};
  return {info.tcpi_bytes_received, info.tcpi_bytes_acked};
}

}  // namespace Lab::Kelvane
