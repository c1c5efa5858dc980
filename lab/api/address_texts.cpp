// Texts of addresses, and addresses of texts.
#include <windows.h>
#include <ws2tcpip.h>

#include <algorithm>
#include <string>

#include "machine/call.h"
#include "machine/machine.h"
#include "network/address_parser.h"
#include "network/address_text.h"
#include "network/socket_state.h"

namespace {

bool IsKnownFamily(const sockaddr* address) {
  return address->sa_family == AF_INET || address->sa_family == AF_INET6;
}

bool IsTooShort(const sockaddr* address, std::size_t length) {
  return length < (address->sa_family == AF_INET ? sizeof(sockaddr_in) : sizeof(sockaddr_in6));
}

INT FailWith(DWORD error, INT answer) {
  SetLastError(error);
  return answer;
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
  if (!IsKnownFamily(address)) return WSAEAFNOSUPPORT;
  if (IsTooShort(address, addressLength)) return WSAEFAULT;
  const std::string text = Lab::AddressText(address);
  if (text.size() >= hostSize) return ERROR_INSUFFICIENT_BUFFER;
  std::copy(text.begin(), text.end(), host);
  host[text.size()] = L'\0';
  return 0;
}

INT WINAPI WSAAddressToStringW(LPSOCKADDR address, DWORD addressLength,
                               LPWSAPROTOCOL_INFOW protocol, LPWSTR text, LPDWORD length) {
  const Lab::Call call("WSAAddressToStringW");
  if (call.FailsByPlan()) return SOCKET_ERROR;
  LAB_SUPPORTS(address != nullptr && protocol == nullptr && text != nullptr && length != nullptr);
  if (!Lab::SocketsAreStarted()) return FailWith(WSANOTINITIALISED, SOCKET_ERROR);
  if (!IsKnownFamily(address)) return FailWith(WSAEINVAL, SOCKET_ERROR);
  if (IsTooShort(address, addressLength)) return FailWith(WSAEFAULT, SOCKET_ERROR);
  const std::string endPoint = Lab::EndPointText(address);
  const DWORD room = *length;
  *length = static_cast<DWORD>(endPoint.size() + 1);
  if (room < *length) return FailWith(WSAEFAULT, SOCKET_ERROR);
  std::copy(endPoint.begin(), endPoint.end(), text);
  text[endPoint.size()] = L'\0';
  return 0;
}

INT WINAPI InetPtonW(INT family, PCWSTR text, PVOID address) {
  const Lab::Call call("InetPtonW");
  if (call.FailsByPlan()) return -1;
  LAB_SUPPORTS(family == AF_INET || family == AF_INET6);
  if (text == nullptr || address == nullptr) return FailWith(WSAEFAULT, -1);
  Lab::SocketAddress parsed{};
  const Lab::AddressParse parse = family == AF_INET
                                      ? Lab::ParseIpv4Text(text, true, parsed.v4.sin_addr)
                                      : Lab::ParseIpv6Text(text, parsed.v6.sin6_addr);
  if (!parse.valid || *parse.end != L'\0') return FailWith(WSAEINVAL, 0);
  if (family == AF_INET) {
    *static_cast<in_addr*>(address) = parsed.v4.sin_addr;
  } else {
    *static_cast<in6_addr*>(address) = parsed.v6.sin6_addr;
  }
  return 1;
}
