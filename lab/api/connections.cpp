#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "api/socket_calls.h"
#include "machine/call.h"
#include "network/peer_address.h"
#include "network/socket_state.h"
#include "winsock2.h"

namespace {

using Lab::Descriptor;
using Lab::FailOnSocket;

/// Windows reports that nobody listens on a port as soon as the other host says so. Here that is
/// told of a datagram only to who asks for it.
void AskForUnreachablePorts(int descriptor, int family) {
  const int on = 1;
  if (family == AF_INET) {
    (void)::setsockopt(descriptor, IPPROTO_IP, IP_RECVERR, &on, sizeof(on));
  } else {
    (void)::setsockopt(descriptor, IPPROTO_IPV6, IPV6_RECVERR, &on, sizeof(on));
  }
}

/// \return 0.0.0.0 or ::, which the host takes for itself and Windows for nobody.
bool IsNobody(const Lab::SocketAddress& address) {
  if (address.any.sa_family == AF_INET) return address.v4.sin_addr.s_addr == INADDR_ANY;
  return IN6_IS_ADDR_UNSPECIFIED(&address.v6.sin6_addr) != 0;
}

/// A connection that is refused has a code of its own, unlike a datagram that is.
DWORD ConnectError(int hostError) {
  return hostError == ECONNREFUSED ? DWORD{WSAECONNREFUSED} : Lab::SocketError(hostError);
}

int SetReceiveTimeout(SOCKET s, const char* value, int length) {
  DWORD milliseconds = 0;
  if (value == nullptr || length < static_cast<int>(sizeof(milliseconds)))
    return FailOnSocket(WSAEFAULT);
  std::memcpy(&milliseconds, value, sizeof(milliseconds));
  Lab::SetReceiveTimeout(s, milliseconds);
  return 0;
}

int SetNoDelay(SOCKET s, const char* value, int length) {
  DWORD on = 0;
  if (value == nullptr || length < static_cast<int>(sizeof(on))) return FailOnSocket(WSAEFAULT);
  std::memcpy(&on, value, sizeof(on));
  const int hostValue = on != 0 ? 1 : 0;
  return ::setsockopt(Descriptor(s), IPPROTO_TCP, TCP_NODELAY, &hostValue, sizeof(hostValue)) == 0
             ? 0
             : FailOnSocket(Lab::SocketError(errno));
}

}  // namespace

int WINAPI WSAGetLastError() { return static_cast<int>(GetLastError()); }

SOCKET WINAPI socket(int family, __socket_type type, int protocol) {
  const Lab::Call call("socket");
  if (call.FailsByPlan()) return INVALID_SOCKET;
  LAB_SUPPORTS(family == AF_INET || family == AF_INET6);
  LAB_SUPPORTS((type == SOCK_DGRAM && protocol == IPPROTO_UDP) ||
               (type == SOCK_STREAM && protocol == IPPROTO_TCP));
  if (!Lab::SocketsAreStarted()) return static_cast<SOCKET>(FailOnSocket(WSANOTINITIALISED));
  const int descriptor = ::socket(family, type | SOCK_CLOEXEC, protocol);
  if (descriptor < 0) return static_cast<SOCKET>(FailOnSocket(Lab::SocketError(errno)));
  if (type == SOCK_DGRAM) AskForUnreachablePorts(descriptor, family);
  return static_cast<SOCKET>(descriptor);
}

int WINAPI closesocket(SOCKET s) {
  const Lab::Call call("closesocket");
  if (call.FailsByPlan()) return SOCKET_ERROR;
  Lab::ForgetSocket(s);
  return close(Descriptor(s)) == 0 ? 0 : FailOnSocket(Lab::SocketError(errno));
}

int WINAPI setsockopt(SOCKET s, int level, int option, const char* value, int length) {
  const Lab::Call call("setsockopt");
  if (call.FailsByPlan()) return SOCKET_ERROR;
  LAB_SUPPORTS((level == SOL_SOCKET && option == SO_RCVTIMEO) ||
               (level == IPPROTO_TCP && option == TCP_NODELAY));
  int type = 0;
  socklen_t typeLength = sizeof(type);
  if (getsockopt(Descriptor(s), SOL_SOCKET, SO_TYPE, &type, &typeLength) != 0) {
    return FailOnSocket(Lab::SocketError(errno));
  }
  return level == SOL_SOCKET ? SetReceiveTimeout(s, value, length) : SetNoDelay(s, value, length);
}

int WINAPI connect(SOCKET s, const sockaddr* to, int length) {
  const Lab::Call call("connect");
  if (call.FailsByPlan()) return SOCKET_ERROR;
  Lab::SocketAddress real;
  if (const DWORD problem = Lab::FindPeer(to, length, real); problem != 0)
    return FailOnSocket(problem);
  if (IsNobody(real)) return FailOnSocket(WSAEADDRNOTAVAIL);
  const int result = ::connect(Descriptor(s), &real.any, real.Length());
  return result == 0 ? 0 : FailOnSocket(ConnectError(errno));
}
