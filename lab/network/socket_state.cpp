#include "network/socket_state.h"

#include <cerrno>
#include <map>
#include <mutex>

#include "machine/machine.h"

// A function of Boost.Asio that every program has which opens a socket through it; never called.
extern "C" [[gnu::weak]] void AsioMark() asm("_ZNK5boost4asio5error6detail13misc_category4nameEv");

namespace Lab {
namespace {

std::mutex gTimeoutsMutex;

std::map<SOCKET, std::uint32_t>& Timeouts() {
  static auto& timeouts = *new std::map<SOCKET, std::uint32_t>;
  return timeouts;
}

}  // namespace

/// On Windows Boost.Asio starts Winsock before main and keeps it to the end.
bool SocketsAreStarted() { return AsioMark != nullptr || TheMachine().SocketStartups() > 0; }

DWORD SocketError(int hostError) {
  switch (hostError) {
    case EACCES:
    case EPERM:
      return WSAEACCES;
    case EFAULT:
      return WSAEFAULT;
    case EMFILE:
    case ENFILE:
      return WSAEMFILE;
    case EBADF:
    case ENOTSOCK:
      return WSAENOTSOCK;
    case EMSGSIZE:
      return WSAEMSGSIZE;
    case EAFNOSUPPORT:
      return WSAEAFNOSUPPORT;
    case EADDRNOTAVAIL:
      return WSAEADDRNOTAVAIL;
    case ENETUNREACH:
      return WSAENETUNREACH;
    // A datagram has no connection that could be refused: Windows calls it reset.
    case ECONNREFUSED:
    case ECONNRESET:
      return WSAECONNRESET;
    case EISCONN:
      return WSAEISCONN;
    case ETIMEDOUT:
      return WSAETIMEDOUT;
    case EHOSTUNREACH:
      return WSAEHOSTUNREACH;
    default:
      return WSAEINVAL;
  }
}

void SetReceiveTimeout(SOCKET socket, std::uint32_t milliseconds) {
  const std::lock_guard lock(gTimeoutsMutex);
  Timeouts()[socket] = milliseconds;
}

std::uint32_t ReceiveTimeout(SOCKET socket) {
  const std::lock_guard lock(gTimeoutsMutex);
  const auto found = Timeouts().find(socket);
  return found == Timeouts().end() || found->second == 0 ? INFINITE : found->second;
}

void ForgetSocket(SOCKET socket) {
  const std::lock_guard lock(gTimeoutsMutex);
  Timeouts().erase(socket);
}

}  // namespace Lab
