#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "machine/adapters.h"
#include "machine/call.h"
#include "machine/machine.h"
#include "network/socket_state.h"
#include "winsock2.h"

namespace {

/// \return -1 and SetLastError in one, as all but one of these functions fail.
int Fail(DWORD error) {
  SetLastError(error);
  return SOCKET_ERROR;
}

int Descriptor(SOCKET s) { return static_cast<int>(s); }

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

/// Reads an address that the program gave. \return The code for one that won't do; 0 for success.
DWORD TakeAddress(const sockaddr* given, int length, Lab::SocketAddress& address) {
  if (given == nullptr || length < static_cast<int>(sizeof(sockaddr_in))) return WSAEFAULT;
  if (given->sa_family != AF_INET && given->sa_family != AF_INET6) return WSAEAFNOSUPPORT;
  address = {};
  address.any.sa_family = given->sa_family;
  if (length < static_cast<int>(address.Length())) return WSAEFAULT;
  std::memcpy(&address, given, address.Length());
  return 0;
}

std::uint16_t& PortOf(Lab::SocketAddress& address) {
  return address.any.sa_family == AF_INET ? address.v4.sin_port : address.v6.sin6_port;
}

/// Where an address of the machine's network really is.
Lab::SocketAddress RealAddress(Lab::SocketAddress address) {
  char text[INET6_ADDRSTRLEN] = {};
  const void* const bytes = address.any.sa_family == AF_INET
                                ? static_cast<const void*>(&address.v4.sin_addr)
                                : static_cast<const void*>(&address.v6.sin6_addr);
  inet_ntop(address.any.sa_family, bytes, text, sizeof(text));
  const Lab::HostPort named{text, ntohs(PortOf(address))};
  const Lab::HostPort real = Lab::TheMachine().Describe().addressMap.RealOf(named);
  if (real == named) return address;
  Lab::SocketAddress mapped = *Lab::ParseAddress(real.host);
  PortOf(mapped) = htons(real.port);
  return mapped;
}

/// A socket that nothing was sent on and that wasn't bound can't receive.
bool IsBound(int descriptor) {
  Lab::SocketAddress own{};
  socklen_t length = sizeof(own);
  return getsockname(descriptor, &own.any, &length) == 0 && PortOf(own) != 0;
}

/// Waits for a datagram or an error by the machine's clock. \return False when the time is over.
bool WaitForDatagram(int descriptor, std::uint32_t milliseconds) {
  const Lab::Timeout timeout(Lab::TheMachine().Clock(), milliseconds);
  pollfd ready{descriptor, POLLIN, 0};
  while (poll(&ready, 1, timeout.PollMilliseconds()) <= 0) {
    if (timeout.Expired()) return false;
  }
  return true;
}

/// Takes the datagram that is there. A longer one than there is room for fills the room and counts
/// as a failure.
int TakeDatagram(int descriptor, char* buffer, int length) {
  iovec room{buffer, static_cast<std::size_t>(length)};
  msghdr message{};
  message.msg_iov = &room;
  message.msg_iovlen = 1;
  const ssize_t received = recvmsg(descriptor, &message, 0);
  if (received < 0) return Fail(Lab::SocketError(errno));
  if ((message.msg_flags & MSG_TRUNC) != 0) return Fail(WSAEMSGSIZE);
  return static_cast<int>(received);
}

}  // namespace

int WINAPI WSAGetLastError() { return static_cast<int>(GetLastError()); }

SOCKET WINAPI socket(int family, __socket_type type, int protocol) {
  const Lab::Call call("socket");
  if (call.FailsByPlan()) return INVALID_SOCKET;
  LAB_SUPPORTS((family == AF_INET || family == AF_INET6) && type == SOCK_DGRAM &&
               protocol == IPPROTO_UDP);
  if (!Lab::SocketsAreStarted()) return static_cast<SOCKET>(Fail(WSANOTINITIALISED));
  const int descriptor = ::socket(family, SOCK_DGRAM | SOCK_CLOEXEC, protocol);
  if (descriptor < 0) return static_cast<SOCKET>(Fail(Lab::SocketError(errno)));
  AskForUnreachablePorts(descriptor, family);
  return static_cast<SOCKET>(descriptor);
}

int WINAPI closesocket(SOCKET s) {
  const Lab::Call call("closesocket");
  if (call.FailsByPlan()) return SOCKET_ERROR;
  Lab::ForgetSocket(s);
  return close(Descriptor(s)) == 0 ? 0 : Fail(Lab::SocketError(errno));
}

int WINAPI sendto(SOCKET s, const char* bytes, int length, int flags, const sockaddr* to,
                  int toLength) {
  const Lab::Call call("sendto");
  if (call.FailsByPlan()) return SOCKET_ERROR;
  LAB_SUPPORTS(flags == 0 && length >= 0);
  Lab::SocketAddress address;
  if (const DWORD problem = TakeAddress(to, toLength, address); problem != 0) return Fail(problem);
  const Lab::SocketAddress real = RealAddress(address);
  const ssize_t sent = ::sendto(Descriptor(s), static_cast<const void*>(bytes),
                                static_cast<std::size_t>(length), 0, &real.any, real.Length());
  return sent < 0 ? Fail(Lab::SocketError(errno)) : static_cast<int>(sent);
}

int WINAPI setsockopt(SOCKET s, int level, int option, const char* value, int length) {
  const Lab::Call call("setsockopt");
  if (call.FailsByPlan()) return SOCKET_ERROR;
  LAB_SUPPORTS(level == SOL_SOCKET && option == SO_RCVTIMEO);
  int type = 0;
  socklen_t typeLength = sizeof(type);
  if (getsockopt(Descriptor(s), SOL_SOCKET, SO_TYPE, &type, &typeLength) != 0) {
    return Fail(Lab::SocketError(errno));
  }
  DWORD milliseconds = 0;
  if (value == nullptr || length < static_cast<int>(sizeof(milliseconds))) return Fail(WSAEFAULT);
  std::memcpy(&milliseconds, value, sizeof(milliseconds));
  Lab::SetReceiveTimeout(s, milliseconds);
  return 0;
}

int WINAPI recvfrom(SOCKET s, char* buffer, int length, int flags, sockaddr* from,
                    int* fromLength) {
  const Lab::Call call("recvfrom");
  if (call.FailsByPlan()) return SOCKET_ERROR;
  // Who sent it would have to be looked up in the address map from its end.
  LAB_SUPPORTS(flags == 0 && length >= 0 && from == nullptr && fromLength == nullptr);
  const int descriptor = Descriptor(s);
  if (fcntl(descriptor, F_GETFD) < 0) return Fail(WSAENOTSOCK);
  if (!IsBound(descriptor)) return Fail(WSAEINVAL);
  if (!WaitForDatagram(descriptor, Lab::ReceiveTimeout(s))) return Fail(WSAETIMEDOUT);
  return TakeDatagram(descriptor, buffer, length);
}
