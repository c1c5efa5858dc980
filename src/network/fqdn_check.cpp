#include "network/fqdn_check.h"

#include <cstring>

#include "core/logging.h"
#include "host/file_version.h"
#include "host/module_function.h"
#include "host/unique_resource.h"
#include "network/address_on_system.h"

namespace Halvard::Network {
namespace {

/// The resolver of Windows 7 and Server 2008 R2 is the one whose cache has to be flushed.
bool CacheNeedsFlush() {
  constexpr std::uint16_t kMajor = 6;
  constexpr std::uint16_t kMinor = 1;
  Host::FileVersion version;
  return Host::GetSystemFileVersion(L"dnsapi.dll", version) && version.major == kMajor &&
         version.minor == kMinor;
}

void FlushCache() {
  LogScope log;
  const HMODULE module = GetModuleHandleW(L"dnsapi.dll");
  if (module == nullptr) {
    log.Error(L"IsFQDN: Failed to get dns handle");
    return;
  }
  const auto flush = Host::FindFunction<BOOL(WINAPI*)()>(module, "DnsFlushResolverCache");
  if (flush == nullptr) {
    log.Warn(L"IsFQDN: Failed to initiate DNS flush");
    return;
  }
  if (flush()) {
    log.Info(L"IsFQDN: DNS cache flushed");
  } else {
    log.Warn(L"IsFQDN: DNS cache was not flushed");
  }
}

bool OnSystem(const DNS_A_DATA& data, bool& dhcp) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = data.IpAddress;
  return AddressOnSystem(reinterpret_cast<const sockaddr*>(&address), sizeof(address), dhcp);
}

bool OnSystem(const DNS_AAAA_DATA& data, bool& dhcp) {
  sockaddr_in6 address{};
  address.sin6_family = AF_INET6;
  static_assert(sizeof(address.sin6_addr) == sizeof(data.Ip6Address));
  std::memcpy(&address.sin6_addr, &data.Ip6Address, sizeof(address.sin6_addr));
  return AddressOnSystem(reinterpret_cast<const sockaddr*>(&address), sizeof(address), dhcp);
}

/// Tells whether a record of an answer is an address of the family. One of a type that has nothing
/// to do here is logged.
bool IsAddress(const DNS_RECORDW& record, bool ipv4) {
  switch (record.wType) {
    // A record that is too short for its type has no address behind it in memory.
    case DNS_TYPE_A:
      return ipv4 && record.wDataLength >= sizeof(DNS_A_DATA);
    case DNS_TYPE_AAAA:
      return !ipv4 && record.wDataLength >= sizeof(DNS_AAAA_DATA);
    case DNS_TYPE_CNAME:
      return false;
    default:
      LogScope log;
      log.Warn(L"IsFQDN: Unhandled DNS type in answer: %d", record.wType);
      return false;
  }
}

/// \param isFirst  The very first record of the reply: an answer that begins with an alias has no
///                 primary address.
void CountAddress(const DNS_RECORDW& record, bool ipv4, bool isFirst, AddressCheckCounts& found) {
  ++found.total;
  bool dhcp = false;
  if (!(ipv4 ? OnSystem(record.Data.A, dhcp) : OnSystem(record.Data.AAAA, dhcp))) return;
  ++found.onSystem;
  if (dhcp) ++found.dhcp;
  if (isFirst) found.primaryOnSystem = true;
}

AddressCheckCounts CountRecords(const DNS_RECORDW* list, bool ipv4) {
  AddressCheckCounts found;
  for (const DNS_RECORDW* record = list; record != nullptr; record = record->pNext) {
    if (record->Flags.S.Section != DnsSectionAnswer) continue;
    if (IsAddress(*record, ipv4)) CountAddress(*record, ipv4, record == list, found);
  }
  return found;
}

}  // namespace

bool IsFQDN(const std::wstring& name, bool ipv4, AddressCheckCounts* counts) {
  LogScope log;
  constexpr DWORD kOptions = DNS_QUERY_WIRE_ONLY | DNS_QUERY_TREAT_AS_FQDN;
  const int version = ipv4 ? 4 : 6;
  PDNS_RECORD list = nullptr;
  const DNS_STATUS status = DnsQuery_W(name.c_str(), ipv4 ? DNS_TYPE_A : DNS_TYPE_AAAA, kOptions,
                                       nullptr, &list, nullptr);
  // A failure may bring records as well.
  const Host::UniqueDnsRecords owner(list);
  if (CacheNeedsFlush()) FlushCache();
  if (status != 0) {
    log.Error(L"IsFQDN: IPv%d FQDN check for %ws failed: %d", version, name.c_str(), status);
    return false;
  }
  const AddressCheckCounts found = CountRecords(list, ipv4);
  log.Info(L"IsFQDN: FQDN check says %u of %u IPv%d addresses are on the system (primary is %ws)",
           found.onSystem, found.total, version, found.primaryOnSystem ? L"okay" : L"invalid");
  if (counts != nullptr) counts->Add(found);
  return true;
}

}  // namespace Halvard::Network
