#include "network/address_on_system.h"

#include <cstddef>
#include <cstring>
#include <new>

#include "core/logging.h"
#include "network/adapter_buffer.h"
#include "network/loopback.h"

namespace Halvard::Network {
namespace {

constexpr ULONG kFlags = GAA_FLAG_SKIP_ANYCAST | GAA_FLAG_SKIP_MULTICAST | GAA_FLAG_SKIP_DNS_SERVER;
constexpr ULONG kFirstSize = 16'384;

AdapterBuffer AllocateZeroed(ULONG size) {
  return AdapterBuffer(new (std::nothrow) std::byte[size]());
}

/// \return The adapters of one family; null after a failure, which is logged here.
AdapterBuffer FetchAdapters(ULONG family) {
  LogScope log;
  ULONG size = kFirstSize;
  ULONG result = ERROR_BUFFER_OVERFLOW;
  AdapterBuffer buffer;
  // The list may grow between two calls, so the size that one of them asked for may not do.
  while (result == ERROR_BUFFER_OVERFLOW) {
    buffer.reset();
    buffer = AllocateZeroed(size);
    if (!buffer) {
      log.Error(L"AddressOnSystem: Failed to alloc memory");
      return nullptr;
    }
    result = GetAdaptersAddresses(family, kFlags, nullptr, AsList(buffer), &size);
  }
  if (result == ERROR_SUCCESS) return buffer;
  log.Error(L"AddressOnSystem: Failed to get adapter address information: %d", result);
  return nullptr;
}

/// \param left, right  Of the same family.
bool IsSameAddress(const sockaddr* left, const sockaddr* right) {
  if (left->sa_family == AF_INET) {
    const auto& a = reinterpret_cast<const sockaddr_in*>(left)->sin_addr;
    const auto& b = reinterpret_cast<const sockaddr_in*>(right)->sin_addr;
    return std::memcmp(&a, &b, sizeof(a)) == 0;
  }
  const auto& a = reinterpret_cast<const sockaddr_in6*>(left)->sin6_addr;
  const auto& b = reinterpret_cast<const sockaddr_in6*>(right)->sin6_addr;
  return std::memcmp(&a, &b, sizeof(a)) == 0;
}

bool HasAddress(const IP_ADAPTER_ADDRESSES& adapter, const sockaddr* address, int length) {
  LogScope log;
  for (const IP_ADAPTER_UNICAST_ADDRESS* entry = adapter.FirstUnicastAddress; entry != nullptr;
       entry = entry->Next) {
    const int entryLength = entry->Address.iSockaddrLength;
    if (entryLength != length) {
      log.Error(L"AddressOnSystem: sockaddrs are not same length match: %d vs %d", entryLength,
                length);
      continue;
    }
    if (IsSameAddress(entry->Address.lpSockaddr, address)) return true;
  }
  return false;
}

}  // namespace

bool AddressOnSystem(const sockaddr* address, int length, bool& dhcp) {
  const AdapterBuffer buffer = FetchAdapters(address->sa_family);
  if (!buffer) return false;
  bool found = false;
  for (const IP_ADAPTER_ADDRESSES* adapter = AsList(buffer); adapter != nullptr;
       adapter = adapter->Next) {
    if (!HasAddress(*adapter, address, length)) continue;
    found = true;
    if ((adapter->Flags & IP_ADAPTER_DHCP_ENABLED) != 0) dhcp = true;
  }
  return found || IsLoopback(address);
}

}  // namespace Halvard::Network
