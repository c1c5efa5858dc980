#include "network/adapters.h"

#include <locale>
#include <sstream>

#include "core/logging.h"
#include "core/property_store.h"
#include "network/adapter_snapshot.h"
#include "network/address_texts.h"

namespace Halvard::Network {
namespace {

/// Looks through one adapter; an address without a text ends the search in it.
bool HasIPAddress(const IP_ADAPTER_ADDRESSES& adapter, const std::wstring& ipAddress) {
  LogScope log;
  for (const IP_ADAPTER_UNICAST_ADDRESS* entry = adapter.FirstUnicastAddress; entry != nullptr;
       entry = entry->Next) {
    if (entry->Address.lpSockaddr == nullptr ||
        (entry->Flags & IP_ADAPTER_ADDRESS_DNS_ELIGIBLE) == 0) {
      log.Info(
          L"GetAdapterWithMatchingIPAddress: Socket address is null or the IP is not eligible DNS entry.");
      continue;
    }
    const std::wstring text = GetNameInfoWrapper(entry->Address);
    if (text.empty()) {
      log.Error(L"GetAdapterWithMatchingIPAddress: Failed to retrieve IP Address.");
      return false;
    }
    if (text == ipAddress) return true;
  }
  return false;
}

/// An address that is registered in DNS and stays with the machine.
bool IsLasting(const IP_ADAPTER_UNICAST_ADDRESS& entry) {
  return entry.Address.lpSockaddr != nullptr &&
         (entry.Flags & IP_ADAPTER_ADDRESS_DNS_ELIGIBLE) != 0 &&
         (entry.Flags & IP_ADAPTER_ADDRESS_TRANSIENT) == 0;
}

/// The texts of a list's addresses of one family, joined by ", ".
/// \param failure  Logged for an address without a text.
template <typename Entry>
std::wstring JoinAddresses(const Entry* list, const std::wstring& family,
                           const WideFormat<>& failure) {
  LogScope log;
  std::wstring joined;
  for (const Entry* entry = list; entry != nullptr; entry = entry->Next) {
    const SOCKET_ADDRESS& address = entry->Address;
    if (address.lpSockaddr == nullptr || GetAddressFamilyName(address.lpSockaddr) != family) {
      continue;
    }
    const std::wstring text = GetNameInfoWrapper(address);
    if (text.empty()) {
      log.Error(failure);
      continue;
    }
    if (!joined.empty()) joined += L", ";
    joined += text;
  }
  return joined;
}

std::wstring MacOf(const IP_ADAPTER_ADDRESSES* adapters, const std::wstring& ipAddress) {
  LogScope log;
  const std::wstring mac =
      GetMacAddressFromAdapter(GetAdapterWithMatchingIPAddress(adapters, ipAddress));
  log.Info(L"IsIpSelectionRequiredForMigration: IP address [%s] coressponds to mac [%s]",
           ipAddress.c_str(), mac.c_str());
  return mac;
}

/// Tells whether one of the addresses belongs to another adapter than the first. Stops at it.
bool AreOnSeveralAdapters(const IP_ADAPTER_ADDRESSES* adapters,
                          const std::vector<std::wstring>& ipAddresses) {
  LogScope log;
  const std::wstring firstMac = MacOf(adapters, ipAddresses.front());
  log.Info(
      L"IsIpSelectionRequiredForMigration: Kelvane Server system name resolved to multiple IP addresses");
  for (const std::wstring& ipAddress : ipAddresses) {
    if (MacOf(adapters, ipAddress) == firstMac) continue;
    log.Info(
        L"IsIpSelectionRequiredForMigration: Kelvane server system name resolves to IPs corresponding tomultiple adapters");
    return true;
  }
  return false;
}

}  // namespace

const IP_ADAPTER_ADDRESSES* GetAdapterWithMatchingIPAddress(const IP_ADAPTER_ADDRESSES* adapters,
                                                            const std::wstring& ipAddress) {
  LogScope log;
  for (const IP_ADAPTER_ADDRESSES* adapter = adapters; adapter != nullptr;
       adapter = adapter->Next) {
    if (HasIPAddress(*adapter, ipAddress)) {
      log.Info(L"GetAdapterWithMatchingIPAddress: Detected the adapter that matches the FQDN");
      return adapter;
    }
  }
  log.Info(L"GetAdapterWithMatchingIPAddress: No adapter found for the IP [%s]", ipAddress.c_str());
  return nullptr;
}

const IP_ADAPTER_UNICAST_ADDRESS* GetUnicastAddressMatchingIPAddress(
    const IP_ADAPTER_ADDRESSES& adapter, const std::wstring& ipAddress) {
  LogScope log;
  for (const IP_ADAPTER_UNICAST_ADDRESS* entry = adapter.FirstUnicastAddress; entry != nullptr;
       entry = entry->Next) {
    if (!IsLasting(*entry)) continue;
    const std::wstring text = GetNameInfoWrapper(entry->Address);
    if (text.empty()) {
      log.Error(L"GetUnicastAddressMatchingIPAddress: Failed to retrieve IP Address.");
      continue;
    }
    if (text == ipAddress) return entry;
  }
  return nullptr;
}

const IP_ADAPTER_UNICAST_ADDRESS* GetUnicastAddressForFamily(const IP_ADAPTER_ADDRESSES& adapter,
                                                             const std::wstring& family,
                                                             bool anyOrigin) {
  for (const IP_ADAPTER_UNICAST_ADDRESS* entry = adapter.FirstUnicastAddress; entry != nullptr;
       entry = entry->Next) {
    if (IsLasting(*entry) && GetAddressFamilyName(entry->Address.lpSockaddr) == family &&
        (anyOrigin || IsTypedIn(*entry))) {
      return entry;
    }
  }
  return nullptr;
}

bool IsTypedIn(const IP_ADAPTER_UNICAST_ADDRESS& address) {
  return address.PrefixOrigin == IpPrefixOriginManual &&
         address.SuffixOrigin == IpSuffixOriginManual;
}

std::wstring GetMacAddressFromAdapter(const IP_ADAPTER_ADDRESSES* adapter) {
  if (adapter == nullptr) {
    LogScope log;
    log.Warn(L"GetMacAddressFromAdapter: Adapter address is NULL.");
    return {};
  }
  std::wostringstream text;
  text.imbue(std::locale::classic());
  text << std::hex << std::uppercase;
  for (ULONG i = 0; i < adapter->PhysicalAddressLength; ++i) {
    text << static_cast<unsigned>(adapter->PhysicalAddress[i]);
  }
  return text.str();
}

bool IsIpSelectionRequiredForMigration(const std::vector<std::wstring>& ipAddresses) {
  LogScope log;
  const AdapterAddressesWrapper adapters;
  // The length is that of the record in bytes, so no real list ends here: how many adapters the
  // addresses belong to decides below.
  if (adapters.Get()->Length == 1) {
    log.Info(
        L"IsIpSelectionRequiredForMigration: Machine is configured with a single network adapter.");
    return false;
  }
  log.Info(L"IsIpSelectionRequiredForMigration: Machine is configured with multiple adapters.");
  if (ipAddresses.size() < 2) return false;
  return AreOnSeveralAdapters(adapters.Get(), ipAddresses);
}

bool IsIPv6EnabledOnAppNetPnidAdapter(bool& enabled) {
  LogScope log;
  enabled = false;
  const AdapterAddressesWrapper adapters;
  if (adapters.Get() == nullptr) return false;
  const std::wstring ipAddress = gProperties[L"APP_NET_PNID_IP"];
  const IP_ADAPTER_ADDRESSES* adapter = GetAdapterWithMatchingIPAddress(adapters.Get(), ipAddress);
  if (adapter == nullptr) {
    log.Error(
        L"IsIPv6EnabledOnAppNetPnidAdapter: Failed to retrieve the adapter that matches theAppNetPnid IP address.");
    return false;
  }
  enabled = (adapter->Flags & IP_ADAPTER_IPV6_ENABLED) != 0;
  return true;
}

std::wstring GetDnsServers(const IP_ADAPTER_ADDRESSES& adapter, const std::wstring& family) {
  return JoinAddresses(adapter.FirstDnsServerAddress, family,
                       L"GetDnsServers: Failed to retrieve DNS Server.");
}

std::wstring GetGatewayAddress(const IP_ADAPTER_ADDRESSES& adapter, const std::wstring& family) {
  return JoinAddresses(adapter.FirstGatewayAddress, family,
                       L"GetGatewayAddress: Failed to retrieve Gateway Address.");
}

std::wstring GetDhcpServerAddress(const IP_ADAPTER_ADDRESSES& adapter, const std::wstring& family) {
  const bool ipv4 = family == L"AF_INET";
  const ULONG enabled = ipv4 ? IP_ADAPTER_IPV4_ENABLED : IP_ADAPTER_IPV6_ENABLED;
  if ((!ipv4 && family != L"AF_INET6") || (adapter.Flags & enabled) == 0) return {};
  const SOCKET_ADDRESS& server = ipv4 ? adapter.Dhcpv4Server : adapter.Dhcpv6Server;
  if (server.lpSockaddr == nullptr) return {};
  const std::wstring text = GetNameInfoWrapper(server);
  if (text.empty()) {
    LogScope log;
    log.Error(L"GetDhcpServerAddress: Failed to retrieve Dhcp Server.");
  }
  return text;
}

std::wstring GetAdapterTypeName(DWORD type) {
  switch (type) {
    case IF_TYPE_ETHERNET_CSMACD:
      return L"Ethernet";
    case IF_TYPE_ISO88025_TOKENRING:
      return L"Token Ring";
    case IF_TYPE_PPP:
      return L"PPP";
    case IF_TYPE_SOFTWARE_LOOPBACK:
      return L"Lookback";  // Clients know the word in this spelling.
    case IF_TYPE_ATM:
      return L"ATM";
    case IF_TYPE_IEEE80211:
      return L"Wireless";
    case IF_TYPE_TUNNEL:
      return L"Tunnel";
    case IF_TYPE_IEEE1394:
      return L"SerialBus";
    default:
      return L"Other";
  }
}

}  // namespace Halvard::Network
