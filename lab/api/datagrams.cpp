#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>

#include <cerrno>

#include "api/socket_calls.h"
#include "machine/adapters.h"
#include "machine/call.h"
#include "machine/machine.h"
#include "network/peer_address.h"
#include "network/socket_state.h"
#include "winsock2.h"

namespace {

using Lab::Descriptor;
using Lab::FailOnSocket;

std::uint16_t PortOf(const Lab::SocketAddress& address) {
  return address.any.sa_family == AF_INET ? address.v4.sin_port : address.v6.sin6_port;
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
  if (received < 0) return FailOnSocket(Lab::SocketError(errno));
  if ((message.msg_flags & MSG_TRUNC) != 0) return FailOnSocket(WSAEMSGSIZE);
  return static_cast<int>(received);
}

}  // namespace

int WINAPI sendto(SOCKET s, const char* bytes, int length, int flags, const sockaddr* to,
                  int toLength) {
  const Lab::Call call("sendto");
  if (call.FailsByPlan()) return SOCKET_ERROR;
  LAB_SUPPORTS(flags == 0 && length >= 0);
  Lab::SocketAddress real;
  if (const DWORD problem = Lab::FindPeer(to, toLength, real); problem != 0)
    return FailOnSocket(problem);
  const ssize_t sent = ::sendto(Descriptor(s), static_cast<const void*>(bytes),
                                static_cast<std::size_t>(length), 0, &real.any, real.Length());
  return sent < 0 ? FailOnSocket(Lab::SocketError(errno)) : static_cast<int>(sent);
}

int WINAPI recvfrom(SOCKET s, char* buffer, int length, int flags, sockaddr* from,
                    int* fromLength) {
  const Lab::Call call("recvfrom");
  if (call.FailsByPlan()) return SOCKET_ERROR;
  // Who sent it would have to be looked up in the address map from its end.
  LAB_SUPPORTS(flags == 0 && length >= 0 && from == nullptr && fromLength == nullptr);
  const int descriptor = Descriptor(s);
  if (fcntl(descriptor, F_GETFD) < 0) return FailOnSocket(WSAENOTSOCK);
  if (!IsBound(descriptor)) return FailOnSocket(WSAEINVAL);
  if (!WaitForDatagram(descriptor, Lab::ReceiveTimeout(s))) return FailOnSocket(WSAETIMEDOUT);
  return TakeDatagram(descriptor, buffer, length);
}
