#include "network/network_configuration.h"

#include "core/json_documents.h"
#include "core/logging.h"
#include "core/messages.h"
#include "core/octet_text.h"
#include "core/property_store.h"
#include "core/text.h"
#include "host/windows_api.h"
#include "network/adapter_snapshot.h"
#include "network/adapters.h"
#include "network/dns_suffixes.h"
#include "network/ip_properties.h"
#include "network/time_servers.h"

namespace Halvard::Network {
namespace {

void SetError(unsigned int message, Json::Value& reply) {
  const std::string locale = WideToUtf8(gProperties[L"MC_LOCALE"].Value());
  reply["error"] = WideToUtf8(GetLocalizedStringIn(message, locale));
}

void CollectAdapterType(const IP_ADAPTER_ADDRESSES& adapter, Json::Value& reply) {
  LogScope log;
  log.Info(L"GetTheNetworkConfiguration: Adapter flag: [%d].", static_cast<int>(adapter.Flags));
  const std::wstring type = GetAdapterTypeName(adapter.IfType);
  reply["config_adapter_type"] = WideToUtf8(type);
  log.Info(L"GetTheNetworkConfiguration: Received config_adapter_type value [%s]", type.c_str());
}

/// \return False for an adapter without a hardware address.
bool CollectMac(const IP_ADAPTER_ADDRESSES& adapter, Json::Value& reply) {
  LogScope log;
  if (adapter.PhysicalAddressLength == 0) {
    SetError(1104, reply);
    log.Error(L"GetTheNetworkConfiguration: %s", GetLocalizedStringIn(1104, "en").c_str());
    return false;
  }
  const std::string mac = OctetText(adapter.PhysicalAddress, adapter.PhysicalAddressLength);
  reply["config_mac"] = mac;
  log.Info(L"GetTheNetworkConfiguration: Received config_mac value [%s]", Utf8ToWide(mac).c_str());
  return true;
}

void CollectDnsSuffixes(const IP_ADAPTER_ADDRESSES& adapter, Json::Value& reply) {
  LogScope log;
  const std::wstring suffixes = GetDnsSuffixList(adapter);
  reply["config_dns_suffix"] = WideToUtf8(suffixes);
  log.Info(L"GetTheNetworkConfiguration: DNS suffix list retrieved: [%s]", suffixes.c_str());
}

/// \return False when the machine's time servers are all dead; "error" says so then.
bool CollectTimeServers(Json::Value& reply) {
  LogScope log;
  std::wstring servers;
  std::wstring type;
  const bool alive = GetNTPServer(servers, type, reply);
  log.Info(L"GetTheNetworkConfiguration: Received config_ntp_servers: [%s], config_ntp_type: [%s]",
           servers.c_str(), type.c_str());
  reply["config_ntp_servers"] = WideToUtf8(servers);
  reply["config_ntp_type"] = WideToUtf8(type);
  return alive;
}

}  // namespace

bool GetTheNetworkConfiguration(const std::wstring& ipAddress, Json::Value& reply) {
  LogScope log;
  const AdapterAddressesWrapper adapters;
  if (adapters.Get() == nullptr) {
    SetError(1102, reply);
    return false;
  }
  const IP_ADAPTER_ADDRESSES* adapter = GetAdapterWithMatchingIPAddress(adapters.Get(), ipAddress);
  if (adapter == nullptr) {
    SetError(1103, reply);
    log.Error(L"GetTheNetworkConfiguration: Failed to get the adapterAddress that matches the IP.");
    return false;
  }
  CollectAdapterType(*adapter, reply);
  // A reply with a failure in it is as complete as it can be.
  bool complete = CollectMac(*adapter, reply);
  CollectDnsSuffixes(*adapter, reply);
  complete = CollectTimeServers(reply) && complete;
  complete = CollectIPProperties(ipAddress, *adapter, L"AF_INET", reply) && complete;
  complete = CollectIPProperties(ipAddress, *adapter, L"AF_INET6", reply) && complete;
  return complete;
}

bool CollectNetworkIdentity(const std::wstring& systemName, Json::Value& reply) {
  LogScope log;
  reply["error"] = "";
  reply["result"] = "fail";
  if (systemName.empty()) {
    SetError(1100, reply);
    return false;
  }
  reply["config_fqdn"] = WideToUtf8(systemName);
  if (!GetTheNetworkConfiguration(gProperties[L"APP_NET_PNID_IP"], reply)) return false;
  reply["result"] = "success";
  log.Info(L"CollectNetworkIdentity: Successfully collected network configuration: %s",
           StyledText(reply).c_str());
  return true;
}

}  // namespace Halvard::Network
