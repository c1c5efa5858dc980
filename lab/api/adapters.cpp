#include <iphlpapi.h>
#include <windows.h>

#include <algorithm>
#include <cstring>
#include <vector>

#include "machine/call.h"
#include "machine/machine.h"
#include "network/host_adapters.h"

namespace {

constexpr ULONG kFlagsForAll = GAA_FLAG_SKIP_ANYCAST | GAA_FLAG_SKIP_MULTICAST |
                               GAA_FLAG_INCLUDE_PREFIX | GAA_FLAG_INCLUDE_GATEWAYS;
constexpr ULONG kFlagsForFamily =
    GAA_FLAG_SKIP_ANYCAST | GAA_FLAG_SKIP_MULTICAST | GAA_FLAG_SKIP_DNS_SERVER;

/// An entry of one of the lists and the address behind it.
template <typename Entry>
struct WithAddress {
  Entry entry;
  Lab::SocketAddress address;
};
using Unicast = WithAddress<IP_ADAPTER_UNICAST_ADDRESS>;
using DnsServer = WithAddress<IP_ADAPTER_DNS_SERVER_ADDRESS>;
using Gateway = WithAddress<IP_ADAPTER_GATEWAY_ADDRESS>;

/// Deals out the caller's buffer, or counts what it would take.
class Buffer {
 public:
  /// \param at  Null: nothing is dealt out.
  explicit Buffer(void* at) : at_(static_cast<std::byte*>(at)) {}

  template <typename Record>
  Record* Take(std::size_t count = 1) {
    constexpr std::size_t kAlignment = alignof(std::max_align_t);
    const std::size_t bytes = (count * sizeof(Record) + kAlignment - 1) / kAlignment * kAlignment;
    std::byte* const place = at_ == nullptr ? nullptr : at_ + used_;
    used_ += bytes;
    if (place != nullptr) std::memset(place, 0, bytes);
    return reinterpret_cast<Record*>(place);
  }
  std::size_t Used() const { return used_; }

 private:
  std::byte* at_;
  std::size_t used_ = 0;
};

template <typename Entry>
void SetAddress(WithAddress<Entry>& record, const Lab::SocketAddress& address) {
  record.address = address;
  record.entry.Length = sizeof(Entry);
  record.entry.Address = {&record.address.any, static_cast<INT>(address.Length())};
}

void FillUnicasts(const Lab::Adapter& from, Buffer& buffer, IP_ADAPTER_UNICAST_ADDRESS** link) {
  for (const Lab::Adapter::Unicast& unicast : from.addresses) {
    auto* const record = buffer.Take<Unicast>();
    if (record == nullptr) continue;
    SetAddress(*record, unicast.address);
    record->entry.Flags = (unicast.dnsEligible ? IP_ADAPTER_ADDRESS_DNS_ELIGIBLE : 0u) |
                          (unicast.transient ? IP_ADAPTER_ADDRESS_TRANSIENT : 0u);
    record->entry.PrefixOrigin = static_cast<IP_PREFIX_ORIGIN>(unicast.prefixOrigin);
    record->entry.SuffixOrigin = static_cast<IP_SUFFIX_ORIGIN>(unicast.suffixOrigin);
    record->entry.OnLinkPrefixLength = unicast.prefixLength;
    *link = &record->entry;
    link = &record->entry.Next;
  }
}

template <typename Entry>
void FillServers(const std::vector<Lab::SocketAddress>& addresses, Buffer& buffer, Entry** link) {
  for (const Lab::SocketAddress& address : addresses) {
    auto* const record = buffer.Take<WithAddress<Entry>>();
    if (record == nullptr) continue;
    SetAddress(*record, address);
    *link = &record->entry;
    link = &record->entry.Next;
  }
}

void FillDhcpServer(const std::optional<Lab::SocketAddress>& from, Buffer& buffer,
                    SOCKET_ADDRESS* server) {
  if (!from) return;
  auto* const address = buffer.Take<Lab::SocketAddress>();
  if (address == nullptr) return;
  *address = *from;
  *server = {&address->any, static_cast<INT>(address->Length())};
}

void FillSuffixes(const Lab::Adapter& from, Buffer& buffer, IP_ADAPTER_ADDRESSES* adapter) {
  auto* const suffix = buffer.Take<WCHAR>(from.dnsSuffix.size() + 1);
  if (suffix != nullptr) {
    from.dnsSuffix.copy(suffix, from.dnsSuffix.size());
    adapter->DnsSuffix = suffix;
  }
  IP_ADAPTER_DNS_SUFFIX** link = adapter == nullptr ? nullptr : &adapter->FirstDnsSuffix;
  for (const std::wstring& text : from.dnsSuffixes) {
    auto* const entry = buffer.Take<IP_ADAPTER_DNS_SUFFIX>();
    if (entry == nullptr) continue;
    text.copy(entry->String, MAX_DNS_SUFFIX_STRING_LENGTH - 1);
    *link = entry;
    link = &entry->Next;
  }
}

ULONG FlagsOf(const Lab::Adapter& from) {
  return (from.dhcp ? IP_ADAPTER_DHCP_ENABLED : 0u) | (from.ipv4 ? IP_ADAPTER_IPV4_ENABLED : 0u) |
         (from.ipv6 ? IP_ADAPTER_IPV6_ENABLED : 0u);
}

void FillPlainMembers(const Lab::Adapter& from, IP_ADAPTER_ADDRESSES& adapter) {
  adapter.Length = sizeof(IP_ADAPTER_ADDRESSES);
  adapter.Flags = FlagsOf(from);
  adapter.IfType = from.type;
  adapter.PhysicalAddressLength = static_cast<ULONG>(from.mac.size());
  std::copy(from.mac.begin(), from.mac.end(), adapter.PhysicalAddress);
  adapter.Dhcpv6ClientDuidLength = static_cast<ULONG>(from.duid.size());
  std::copy(from.duid.begin(), from.duid.end(), adapter.Dhcpv6ClientDuid);
  adapter.Dhcpv6Iaid = from.iaid;
}

/// Lays one adapter and its lists into the buffer. \return Null when nothing is dealt out.
IP_ADAPTER_ADDRESSES* FillAdapter(const Lab::Adapter& from, Buffer& buffer) {
  auto* const adapter = buffer.Take<IP_ADAPTER_ADDRESSES>();
  IP_ADAPTER_ADDRESSES unused{};
  IP_ADAPTER_ADDRESSES& target = adapter == nullptr ? unused : *adapter;
  FillPlainMembers(from, target);
  FillUnicasts(from, buffer, &target.FirstUnicastAddress);
  FillServers(from.dnsServers, buffer, &target.FirstDnsServerAddress);
  FillServers(from.gateways, buffer, &target.FirstGatewayAddress);
  FillDhcpServer(from.dhcpServer4, buffer, &target.Dhcpv4Server);
  FillDhcpServer(from.dhcpServer6, buffer, &target.Dhcpv6Server);
  FillSuffixes(from, buffer, adapter);
  return adapter;
}

std::size_t FillAdapters(const std::vector<Lab::Adapter>& adapters, void* at) {
  Buffer buffer(at);
  IP_ADAPTER_ADDRESSES** link = nullptr;
  for (const Lab::Adapter& from : adapters) {
    IP_ADAPTER_ADDRESSES* const adapter = FillAdapter(from, buffer);
    if (adapter == nullptr) continue;
    adapter->IfIndex = from.index;
    if (link != nullptr) *link = adapter;
    link = &adapter->Next;
  }
  return buffer.Used();
}

bool IsOfFamily(const Lab::SocketAddress& address, ULONG family) {
  return family == AF_UNSPEC || address.any.sa_family == family;
}

/// What a call for one family sees of an adapter.
Lab::Adapter PartFor(Lab::Adapter adapter, ULONG family, ULONG flags) {
  std::erase_if(adapter.addresses, [&](const Lab::Adapter::Unicast& unicast) {
    return !IsOfFamily(unicast.address, family);
  });
  if ((flags & GAA_FLAG_SKIP_DNS_SERVER) != 0) adapter.dnsServers.clear();
  if ((flags & GAA_FLAG_INCLUDE_GATEWAYS) == 0) adapter.gateways.clear();
  return adapter;
}

bool HasProtocol(const Lab::Adapter& adapter, ULONG family) {
  if (family == AF_INET) return adapter.ipv4;
  return family == AF_UNSPEC || adapter.ipv6;
}

/// The adapters that the n-th call of the process is to see.
std::vector<Lab::Adapter> VisibleAdapters(ULONG family, ULONG flags) {
  const std::uint32_t call = Lab::TheMachine().Faults().Calls("GetAdaptersAddresses");
  std::vector<Lab::Adapter> visible;
  for (const Lab::Adapter& adapter : Lab::CurrentAdapters()) {
    const bool isThere = call >= adapter.firstCall && call <= adapter.lastCall;
    if (isThere && HasProtocol(adapter, family)) {
      visible.push_back(PartFor(adapter, family, flags));
    }
  }
  return visible;
}

bool IsSupported(ULONG family, ULONG flags) {
  if (family == AF_UNSPEC) return flags == kFlagsForAll;
  return (family == AF_INET || family == AF_INET6) && flags == kFlagsForFamily;
}

}  // namespace

ULONG WINAPI GetAdaptersAddresses(ULONG family, ULONG flags, void* reserved,
                                  PIP_ADAPTER_ADDRESSES adapters, PULONG bytes) {
  const Lab::Call call("GetAdaptersAddresses");
  if (call.PlannedError()) return *call.PlannedError();
  LAB_SUPPORTS(IsSupported(family, flags) && reserved == nullptr);
  if (bytes == nullptr) return ERROR_INVALID_PARAMETER;
  const std::vector<Lab::Adapter> visible = VisibleAdapters(family, flags);
  if (visible.empty()) return ERROR_NO_DATA;
  const ULONG needed = static_cast<ULONG>(FillAdapters(visible, nullptr));
  if (adapters == nullptr || *bytes < needed) {
    *bytes = needed;
    return ERROR_BUFFER_OVERFLOW;
  }
  FillAdapters(visible, adapters);
  return ERROR_SUCCESS;
}
