#include "network/ip_properties.h"

#include "core/logging.h"
#include "core/octet_text.h"
#include "core/text.h"
#include "network/adapters.h"
#include "network/name_resolution.h"

namespace Halvard::Network {
namespace {

constexpr wchar_t kIPv4[] = L"AF_INET";
constexpr wchar_t kIPv6[] = L"AF_INET6";

bool IsAddressOf(int family, const std::wstring& text) {
  in6_addr bytes = {};  // Has room for either.
  return InetPtonW(family, text.c_str(), &bytes) == 1;
}

/// One family's share of the reply.
class FamilyMembers {
 public:
  FamilyMembers(const std::wstring& family, Json::Value& reply)
      : digit_(family == kIPv4 ? L'4' : L'6'), reply_(reply) {}

  void Set(const wchar_t* stem, const std::wstring& text) {
    LogScope log;
    const std::wstring key = stem + std::wstring(1, digit_);
    reply_[WideToUtf8(key)] = WideToUtf8(text);
    log.Info(L"CollectIPProperties: Received %s value [%s]", key.c_str(), text.c_str());
  }
  void Set(const wchar_t* stem, int number) {
    LogScope log;
    const std::wstring key = stem + std::wstring(1, digit_);
    reply_[WideToUtf8(key)] = number;
    log.Info(L"CollectIPProperties: Received %s value [%d]", key.c_str(), number);
  }
  /// What there is to say of a family without an address.
  void SetNoAddress() {
    const std::string digit = digit_ == L'4' ? "4" : "6";
    reply_["config_ipaddr" + digit] = "";
    reply_["config_mode" + digit] = "";
    reply_["config_prefix" + digit] = 0;
  }

 private:
  wchar_t digit_;
  Json::Value& reply_;
};

/// \return Null when the adapter has no address of the family.
const IP_ADAPTER_UNICAST_ADDRESS* PickAddress(const std::wstring& ipAddress,
                                              const IP_ADAPTER_ADDRESSES& adapter,
                                              const std::wstring& family) {
  LogScope log;
  if ((family == kIPv4 && IsAddressOf(AF_INET, ipAddress)) ||
      (family == kIPv6 && IsAddressOf(AF_INET6, ipAddress))) {
    return GetUnicastAddressMatchingIPAddress(adapter, ipAddress);
  }
  if (const auto* typedIn = GetUnicastAddressForFamily(adapter, family, false)) return typedIn;
  log.Info(L"CollectIPProperties: No static unicast address found.");
  return GetUnicastAddressForFamily(adapter, family, true);
}

/// What the appliance needs to be known to the DHCPv6 server as the machine that it replaces.
void AddDhcpv6Client(const IP_ADAPTER_ADDRESSES& adapter, Json::Value& reply) {
  LogScope log;
  if (adapter.Dhcpv6ClientDuidLength == 0) {
    log.Warn(L"CollectIPProperties: Failed to get the Dhcpv6ClientDuid.");
  } else {
    const std::string duid = OctetText(adapter.Dhcpv6ClientDuid, adapter.Dhcpv6ClientDuidLength);
    reply["config_dhcp_duid6"] = duid;
    log.Info(L"CollectIPProperties: Received dhcpv6Duid value [%s]", Utf8ToWide(duid).c_str());
  }
  reply["config_dhcp_iaid6"] = std::to_string(adapter.Dhcpv6Iaid);
  log.Info(L"CollectIPProperties: Received dhcpv6Iaid value [%llu]", ULONGLONG{adapter.Dhcpv6Iaid});
}

/// Under IPv4 the adapter knows how it comes by its addresses, under IPv6 the address does: one
/// that was advertised counts as given by DHCP.
std::wstring ModeOf(const IP_ADAPTER_UNICAST_ADDRESS& address, const IP_ADAPTER_ADDRESSES& adapter,
                    const std::wstring& family) {
  const bool isStatic =
      family == kIPv4 ? (adapter.Flags & IP_ADAPTER_DHCP_ENABLED) == 0 : IsTypedIn(address);
  return isStatic ? L"static" : L"dhcp";
}

void AddAddress(const IP_ADAPTER_UNICAST_ADDRESS& address, const IP_ADAPTER_ADDRESSES& adapter,
                const std::wstring& family, FamilyMembers& members, Json::Value& reply) {
  LogScope log;
  const std::wstring text = GetNameInfoWrapper(address.Address);
  members.Set(L"config_ipaddr", text);
  log.Info(
      L"CollectIPProperties: IP Address: [%s], Flags: [%d], PrefixOrigin:[%d], SuffixOrigin: [%d]",
      text.c_str(), static_cast<int>(address.Flags), static_cast<int>(address.PrefixOrigin),
      static_cast<int>(address.SuffixOrigin));
  const std::wstring mode = ModeOf(address, adapter, family);
  if (family != kIPv4 && mode == L"dhcp") AddDhcpv6Client(adapter, reply);
  members.Set(L"config_mode", mode);
  members.Set(L"config_prefix", int{address.OnLinkPrefixLength});
}

}  // namespace

bool CollectIPProperties(const std::wstring& ipAddress, const IP_ADAPTER_ADDRESSES& adapter,
                         const std::wstring& family, Json::Value& reply) {
  LogScope log;
  FamilyMembers members(family, reply);
  if (const auto* address = PickAddress(ipAddress, adapter, family)) {
    AddAddress(*address, adapter, family, members, reply);
  } else {
    log.Info(L"CollectIPProperties: No unicast address found for '%s' family.", family.c_str());
    members.SetNoAddress();
  }
  members.Set(L"config_gateway", GetGatewayAddress(adapter, family));
  members.Set(L"config_dns_servers", GetDnsServers(adapter, family));
  members.Set(L"config_dhcp_servers", GetDhcpServerAddress(adapter, family));
  return true;
}

}  // namespace Halvard::Network
