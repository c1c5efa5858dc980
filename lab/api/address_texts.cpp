#include <arpa/inet.h>
#include <windows.h>
#include <ws2tcpip.h>

#include <cstring>
#include <string>

#include "machine/call.h"
#include "network/socket_state.h"

namespace {

std::string Numeric(const sockaddr* address) {
  char text[INET6_ADDRSTRLEN] = {};
  if (address->sa_family == AF_INET) {
    const auto* v4 = reinterpret_cast<const sockaddr_in*>(address);
    return inet_ntop(AF_INET, &v4->sin_addr, text, sizeof(text));
  }
  const auto* v6 = reinterpret_cast<const sockaddr_in6*>(address);
  std::string result = inet_ntop(AF_INET6, &v6->sin6_addr, text, sizeof(text));
  if (v6->sin6_scope_id != 0) result += "%" + std::to_string(v6->sin6_scope_id);
  return result;
}

/// The code for an address that can't be rendered; 0 for one that can.
INT AddressProblem(const sockaddr* address, socklen_t length) {
  if (address->sa_family != AF_INET && address->sa_family != AF_INET6) return WSAEAFNOSUPPORT;
  const socklen_t needed =
      address->sa_family == AF_INET ? sizeof(sockaddr_in) : sizeof(sockaddr_in6);
  return length < needed ? WSAEFAULT : 0;
}

}  // namespace

INT WINAPI GetNameInfoW(const sockaddr* address, socklen_t addressLength, WCHAR* host,
                        DWORD hostSize, WCHAR* service, DWORD serviceSize, INT flags) {
  const Lab::Call call("GetNameInfoW");
  if (call.PlannedError()) return static_cast<INT>(*call.PlannedError());
  // Numeric hosts alone: nothing is asked of a resolver.
  LAB_SUPPORTS(flags == NI_NUMERICHOST && service == nullptr && serviceSize == 0);
  LAB_SUPPORTS(address != nullptr && host != nullptr);
  if (!Lab::SocketsAreStarted()) return WSANOTINITIALISED;
  if (const INT problem = AddressProblem(address, addressLength); problem != 0) return problem;
  const std::string text = Numeric(address);
  if (text.size() >= hostSize) return ERROR_INSUFFICIENT_BUFFER;
  std::copy(text.begin(), text.end(), host);
  host[text.size()] = L'\0';
  return 0;
}
