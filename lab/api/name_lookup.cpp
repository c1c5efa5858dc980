// Addresses of names.
#include "machine/call.h"
#include "network/name_resolver.h"
#include "network/socket_state.h"
#include "winsock2.h"
#include "ws2tcpip.h"

namespace {

/// An entry and the address behind it; a list of them is one block.
struct Entry {
  addrinfoW info;
  Lab::SocketAddress address;
};

/// The functions answer the code and leave it as the last error, too.
INT FailToLookUp(std::uint32_t error) {
  SetLastError(error);
  return static_cast<INT>(error);
}

bool AreSupported(const ADDRINFOW& hints) {
  return (hints.ai_flags == 0 || hints.ai_flags == AI_NUMERICHOST) &&
         (hints.ai_family == AF_UNSPEC || hints.ai_family == AF_INET ||
          hints.ai_family == AF_INET6) &&
         hints.ai_socktype == 0 && hints.ai_protocol == 0;
}

PADDRINFOW MakeAddressList(const std::vector<Lab::SocketAddress>& addresses) {
  if (addresses.empty()) return nullptr;
  auto* const entries = new Entry[addresses.size()]();
  for (std::size_t i = 0; i < addresses.size(); ++i) {
    Entry& entry = entries[i];
    entry.address = addresses[i];
    entry.info.ai_family = addresses[i].any.sa_family;
    entry.info.ai_addrlen = addresses[i].Length();
    entry.info.ai_addr = &entry.address.any;
    if (i > 0) entries[i - 1].info.ai_next = &entry.info;
  }
  return &entries->info;
}

}  // namespace

INT WINAPI GetAddrInfoW(PCWSTR name, PCWSTR service, const ADDRINFOW* hints, PADDRINFOW* list) {
  const Lab::Call call("GetAddrInfoW", name != nullptr ? name : L"");
  LAB_SUPPORTS(service == nullptr && list != nullptr);
  LAB_SUPPORTS(hints == nullptr || AreSupported(*hints));
  *list = nullptr;
  if (call.PlannedError()) return FailToLookUp(*call.PlannedError());
  if (!Lab::SocketsAreStarted()) return FailToLookUp(WSANOTINITIALISED);
  if (name == nullptr) return FailToLookUp(WSAHOST_NOT_FOUND);
  const int family = hints != nullptr ? hints->ai_family : AF_UNSPEC;
  const bool numericOnly = hints != nullptr && hints->ai_flags == AI_NUMERICHOST;
  const Lab::Resolution found = Lab::ResolveName(name, family, numericOnly);
  if (found.error != 0) return FailToLookUp(found.error);
  *list = MakeAddressList(found.addresses);
  return 0;
}

void WINAPI FreeAddrInfoW(PADDRINFOW list) {
  const Lab::Call call("FreeAddrInfoW");
  // The entry's first member is what the list begins with.
  delete[] reinterpret_cast<Entry*>(list);
}
