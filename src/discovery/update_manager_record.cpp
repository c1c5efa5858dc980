#include "discovery/update_manager_record.h"

#include <string>

#include "core/logging.h"
#include "core/property_store.h"
#include "host/registry.h"
#include "host/windows_api.h"

namespace Halvard::Discovery {
namespace {

bool ReadTumValue(const wchar_t* name, std::wstring& value) {
  return Host::ReadRegistryString(HKEY_LOCAL_MACHINE,
                                  L"SOFTWARE\\Wow6432Node\\Ostrel, Inc.\\Ostrel Update Manager",
                                  name, value);
}

}  // namespace

bool RetrieveTumInfoFromRegistry(TumInfo& tumInfo) {
  LogScope log;
  if (!ReadTumValue(L"KVServer", tumInfo.kvServer)) {
    log.Error(
        L"RetrieveTumInfoFromRegistry: Failed to retrieve the KV server addr from the registry.");
    return false;
  }
  std::wstring port;
  if (!ReadTumValue(L"KVServerPort", port)) {
    log.Error(L"RetrieveTumInfoFromRegistry: Failed to retrieve the KV port from the registry.");
    return false;
  }
  tumInfo.kvPort = _wtoi(port.c_str());
  if (!ReadTumValue(L"KVUserName", tumInfo.kvUserName)) {
    log.Error(
        L"RetrieveTumInfoFromRegistry: Failed to retrieve the KV username from the registry.");
    return false;
  }
  if (!ReadTumValue(L"KVThumbprint", tumInfo.kvThumbprint)) {
    log.Error(
        L"RetrieveTumInfoFromRegistry: Failed to retrieve the KV thumbprint from the registry.");
    return false;
  }
  if (!ReadTumValue(L"TUMServer", tumInfo.tumServer)) {
    log.Error(
        L"RetrieveTumInfoFromRegistry: Failed to retrieve the TUM server addr from the registry.");
    return false;
  }
  if (!ReadTumValue(L"DbServerType", tumInfo.dbServerType)) {
    log.Error(
        L"RetrieveTumInfoFromRegistry: Failed to retrieve the TUM DB type from the registry.");
    return false;
  }
  return true;
}

void SetRequiredTumProperties(const TumInfo& tumInfo) {
  LogScope log;
  log.Info(L"SetRequiredTumProperties: Setting required TUM properties.");
  const std::wstring port = std::to_wstring(tumInfo.kvPort);
  gProperties[L"KV_VERSION"] = gProperties[L"SOURCE_VERSION"];
  gProperties[L"KV_URL"] = L"http://" + tumInfo.kvServer + L":" + port;
  gProperties[L"KV_SSL_THUMBPRINT"] = tumInfo.kvThumbprint;
  gProperties[L"TUM_KV_SERVER"] = tumInfo.kvServer;
  gProperties[L"TUM_KV_PORT"] = port;
  gProperties[L"SRC_DB_TYPE"] = tumInfo.dbServerType == L"Bundled" ? L"embedded" : L"external";
}

}  // namespace Halvard::Discovery
