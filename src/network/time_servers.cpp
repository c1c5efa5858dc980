#include "network/time_servers.h"

#include <vector>

#include "core/logging.h"
#include "core/messages.h"
#include "core/property_store.h"
#include "core/text.h"
#include "host/registry.h"
#include "host/windows_api.h"
#include "network/time_exchange.h"

namespace Halvard::Network {
namespace {

constexpr wchar_t kTimeServiceKey[] = L"SYSTEM\\CurrentControlSet\\Services\\W32Time\\Parameters";

struct CheckedServers {
  std::vector<std::wstring> good;
  std::vector<std::wstring> bad;
};

bool EqualNoCase(const std::wstring& left, const wchar_t* right) {
  return _wcsicmp(left.c_str(), right) == 0;
}

bool ReadTimeService(const wchar_t* value, std::wstring& text) {
  return Host::ReadRegistryString(HKEY_LOCAL_MACHINE, kTimeServiceKey, value, text);
}

/// \return True when the machine takes its time from its domain, and no server is to be carried
///         over.
bool FollowsItsDomain(std::wstring& type) {
  LogScope log;
  if (!ReadTimeService(L"Type", type)) {
    log.Warn(L"GetNTPServer: Failed to get NTP type information.");
    return false;
  }
  log.Info(L"GetNTPServer: NTP type: [%s]", type.c_str());
  if (!EqualNoCase(type, L"NT5DS")) return false;
  log.Info(L"GetNTPServer: Ignoring NTP server value as NTP type is NT5DS");
  return true;
}

/// \param configured  "alpha,0x9 beta": entries between blanks, each with flags after a comma.
CheckedServers CheckServers(const std::wstring& configured) {
  LogScope log;
  CheckedServers servers;
  for (const std::wstring& entry : SplitString(configured, L' ')) {
    const std::wstring name = entry.substr(0, entry.find(L','));
    if (ValidateNTPServer(name)) {
      servers.good.push_back(name);
    } else {
      log.Warn(L"GetNTPServer: NTP server validation failed for %s", name.c_str());
      servers.bad.push_back(name);
    }
  }
  return servers;
}

std::wstring InClientLanguage(unsigned int message, const std::wstring& servers) {
  return GetLocalizedStringIn(message, servers, WideToUtf8(gProperties[L"MC_LOCALE"].Value()));
}

void ReportNoServer(const std::wstring& bad, Json::Value& reply) {
  LogScope log;
  reply["error"] = WideToUtf8(InClientLanguage(1154, bad));
  log.Error(L"GetNTPServer: %s", GetLocalizedStringIn(1154, bad, "en").c_str());
}

void WarnOfServers(const std::wstring& bad) {
  LogScope log;
  gProperties[L"HV_WARNING_MESSAGES"] += InClientLanguage(1155, bad) + L"\n";
  log.Warn(L"GetNTPServer: %s", GetLocalizedStringIn(1155, bad, "en").c_str());
}

}  // namespace

bool GetNTPServer(std::wstring& servers, std::wstring& type, Json::Value& reply) {
  LogScope log;
  servers.clear();
  type.clear();
  if (FollowsItsDomain(type)) return true;
  if (!ReadTimeService(L"NtpServer", servers)) {
    log.Error(L"GetNTPServer: Failed to get the NTP Server information.");
    return true;
  }
  log.Info(L"GetNTPServer: NTP Server: [%s]", servers.c_str());
  const CheckedServers checked = CheckServers(servers);
  if (!checked.bad.empty()) {
    const std::wstring bad = JoinStrings(checked.bad, L",");
    if (checked.good.empty() && EqualNoCase(type, L"NTP")) {
      ReportNoServer(bad, reply);
      return false;
    }
    WarnOfServers(bad);
  }
  servers = JoinStrings(checked.good, L",");
  log.Info(L"GetNTPServer: Validated NTP servers list is [%s]", servers.c_str());
  return true;
}

}  // namespace Halvard::Network
