#include "network/address_texts.h"

#include "core/logging.h"

namespace Halvard::Network {

std::wstring GetNameInfoWrapper(const SOCKET_ADDRESS& address) {
  if (address.lpSockaddr == nullptr) return {};
  LogScope log;
  wchar_t host[NI_MAXHOST] = {};
  const int error = GetNameInfoW(address.lpSockaddr, address.iSockaddrLength, host, NI_MAXHOST,
                                 nullptr, 0, NI_NUMERICHOST);
  if (error != 0) {
    log.Error(L"GetNameInfoWrapper: Failed to retrieve name info, Error Code: [%ld]", error);
    return {};
  }
  return host;
}

std::wstring GetAddressFamilyName(const sockaddr* address) {
  switch (address->sa_family) {
    case AF_INET:
      return L"AF_INET";
    case AF_INET6:
      return L"AF_INET6";
    default:
      return L"AF_UNSPEC";
  }
}

}  // namespace Halvard::Network
