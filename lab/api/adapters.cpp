#include <iphlpapi.h>
#include <windows.h>

#include <cstring>
#include <vector>

#include "machine/call.h"
#include "machine/machine.h"

namespace {

constexpr ULONG kFlagsOfTheAgent = GAA_FLAG_SKIP_ANYCAST | GAA_FLAG_SKIP_MULTICAST |
                                   GAA_FLAG_INCLUDE_PREFIX | GAA_FLAG_INCLUDE_GATEWAYS;

/// An entry and the address behind it.
struct UnicastRecord {
  IP_ADAPTER_UNICAST_ADDRESS entry;
  Lab::SocketAddress address;
};

std::size_t BytesFor(const std::vector<Lab::Adapter>& adapters) {
  std::size_t bytes = 0;
  for (const Lab::Adapter& adapter : adapters) {
    bytes += sizeof(IP_ADAPTER_ADDRESSES) + adapter.addresses.size() * sizeof(UnicastRecord);
  }
  return bytes;
}

void FillUnicast(const Lab::Adapter::Unicast& from, UnicastRecord& record) {
  record.address = from.address;
  record.entry.Length = sizeof(IP_ADAPTER_UNICAST_ADDRESS);
  record.entry.Flags = (from.dnsEligible ? IP_ADAPTER_ADDRESS_DNS_ELIGIBLE : 0u) |
                       (from.transient ? IP_ADAPTER_ADDRESS_TRANSIENT : 0u);
  record.entry.Address = {&record.address.any, static_cast<INT>(from.address.Length())};
}

/// Lays one adapter and its addresses at \p at. \return The first byte behind them.
std::byte* FillAdapter(const Lab::Adapter& from, DWORD index, std::byte* at) {
  auto* const record = reinterpret_cast<IP_ADAPTER_ADDRESSES*>(at);
  *record = {};
  record->Length = sizeof(IP_ADAPTER_ADDRESSES);
  record->IfIndex = index;
  record->Flags =
      (from.ipv4 ? IP_ADAPTER_IPV4_ENABLED : 0u) | (from.ipv6 ? IP_ADAPTER_IPV6_ENABLED : 0u);
  auto* unicast = reinterpret_cast<UnicastRecord*>(record + 1);
  IP_ADAPTER_UNICAST_ADDRESS** link = &record->FirstUnicastAddress;
  for (const Lab::Adapter::Unicast& address : from.addresses) {
    *unicast = {};
    FillUnicast(address, *unicast);
    *link = &unicast->entry;
    link = &unicast->entry.Next;
    ++unicast;
  }
  return reinterpret_cast<std::byte*>(unicast);
}

}  // namespace

ULONG WINAPI GetAdaptersAddresses(ULONG family, ULONG flags, void* reserved,
                                  PIP_ADAPTER_ADDRESSES adapters, PULONG bytes) {
  const Lab::Call call("GetAdaptersAddresses");
  if (call.PlannedError()) return *call.PlannedError();
  LAB_SUPPORTS(family == AF_UNSPEC && flags == kFlagsOfTheAgent && reserved == nullptr);
  if (bytes == nullptr) return ERROR_INVALID_PARAMETER;
  const std::vector<Lab::Adapter>& described = Lab::TheMachine().Describe().adapters;
  if (described.empty()) return ERROR_NO_DATA;
  const ULONG needed = static_cast<ULONG>(BytesFor(described));
  if (adapters == nullptr || *bytes < needed) {
    *bytes = needed;
    return ERROR_BUFFER_OVERFLOW;
  }
  auto* at = reinterpret_cast<std::byte*>(adapters);
  for (std::size_t i = 0; i < described.size(); ++i) {
    auto* const record = reinterpret_cast<IP_ADAPTER_ADDRESSES*>(at);
    at = FillAdapter(described[i], static_cast<DWORD>(i + 1), at);
    if (i + 1 < described.size()) record->Next = reinterpret_cast<IP_ADAPTER_ADDRESSES*>(at);
  }
  return ERROR_SUCCESS;
}
