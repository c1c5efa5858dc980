#include "discovery/installed_products.h"

#include <string>
#include <vector>

#include "core/automated_tum_upgrade.h"
#include "core/console.h"
#include "core/logging.h"
#include "core/messages.h"
#include "core/property_store.h"
#include "core/start_failure.h"
#include "discovery/deployment_type.h"
#include "discovery/product_names.h"
#include "discovery/upgrade_codes.h"
#include "host/registry.h"
#include "host/windows_api.h"

namespace Halvard::Discovery {

bool localTumInstalled = false;

namespace {

/// Length of a version as it is compared and shown, such as "5.5".
constexpr std::size_t kShortVersion = 3;

/// Versions of the installed products; empty for one that isn't there.
struct InstalledVersions {
  std::wstring kelvaneServer;
  std::wstring singleSignOn51;
  std::wstring singleSignOn55;
  std::wstring platformInstaller;
  std::wstring updateManager;
};

InstalledVersions ReadInstalledVersions() {
  // In this order; the log shows it.
  InstalledVersions installed;
  installed.kelvaneServer =
      Host::GetInstallPropertyFromUpgradeCode(kKelvaneServer55, kVersionString);
  installed.singleSignOn51 =
      Host::GetInstallPropertyFromUpgradeCode(kSingleSignOn51, kVersionString);
  installed.singleSignOn55 =
      Host::GetInstallPropertyFromUpgradeCode(kSingleSignOn55, kVersionString);
  installed.platformInstaller =
      Host::GetInstallPropertyFromUpgradeCode(kPlatformInstaller, kVersionString);
  installed.updateManager =
      Host::GetInstallPropertyFromUpgradeCode(kTarmisUpdateManager, kVersionString);
  return installed;
}

constexpr WideFormat<const wchar_t*> kRefusal = L"DiscoverInstalledProducts: %s";

/// \return False, for the caller to hand on.
bool Refuse(unsigned int id, const std::vector<std::wstring>& arguments = {}) {
  ReportFatal(kRefusal, id, arguments);
  return false;
}

/// Refuses a source of a version that no migration starts from, and names the one that would do.
bool RefuseVersion(unsigned int id, const std::wstring& installed, const std::wstring& target) {
  PrintLine(GetLocalizedString(1133) + GetLocalizedString(id, installed, target) + L" " +
            GetLocalizedString(1122, target));
  LogAndStoreError(kRefusal, id, {installed, target});
  return false;
}

/// Refuses a machine on which nothing can be migrated. \p hint is a message with the target's
/// version; the operator reads it before the reason.
bool RefuseNothingFound(unsigned int hint, const std::wstring& target) {
  LogAndStoreError(kRefusal, 1123);
  PrintLine(GetLocalizedString(hint, target));
  PrintLine(GetLocalizedString(1123));
  return false;
}

/// Warns that Tarmis Update Manager on this machine will stop working. Replaces what warnings there
/// were.
void WarnOfLocalUpdateManager(unsigned int id) {
  LogScope log;
  gProperties[L"HV_WARNING_MESSAGES"] = GetLocalizedString(1055) + GetLocalizedString(id) + L"\n\n";
  log.Warn(L"DiscoverInstalledProducts: %s", GetLocalizedStringIn(id, "en").c_str());
}

void SetKelvaneServer(const std::wstring& version, const std::wstring& port) {
  gProperties[L"KV_VERSION"] = version;
  gProperties[L"KV_HTTPS_PORT"] = port;
  gProperties[L"KV_URL"] = L"//127.0.0.1:" + port;
}

void SetSingleSignOnUrl(const std::wstring& port, const std::wstring& domain) {
  gProperties[L"SSO_URL"] = L"//127.0.0.1:" + port + L"/sso-adminserver/sdk/" + domain;
}

/// \return True when \p version is lower than \p other, both read as decimal numbers.
bool IsLowerVersion(const std::wstring& version, const std::wstring& other) {
  return static_cast<float>(_wtof(version.c_str())) < static_cast<float>(_wtof(other.c_str()));
}

bool DiscoverPlatformProducts(const std::wstring& installed, const std::wstring& target) {
  gProperties[L"RIMSAWIN_INSTALLED"] = L"1";
  const std::wstring version = installed.substr(0, kShortVersion);
  // Equal versions are refused too: the migration is an upgrade.
  if (!IsLowerVersion(version, target)) return RefuseVersion(1116, installed, target);
  const std::wstring type = GetRimsawinDeploymentType();
  if (type.empty()) return Refuse(1117);
  const std::wstring port = Host::GetInstallParameter(L"rhttpproxy.ext.port2");
  if (port.empty()) return Refuse(1118);

  gProperties[L"MIGRATION_TYPE"] = type;
  SetSourceAndTargetProducts(type, version, target);
  // One reverse proxy stands before both products.
  if (type != L"infrastructure") SetKelvaneServer(version, port);
  if (type == L"management") return true;
  gProperties[L"SSO_VERSION"] = version;
  gProperties[L"SSO_HTTPS_PORT"] = port;
  const std::wstring domain = Host::GetInstallParameter(L"ostreldir.domain-name");
  if (domain.empty()) return Refuse(1131);
  SetSingleSignOnUrl(port, domain);
  return true;
}

bool DiscoverKelvaneServer55(const std::wstring& installed, const std::wstring& target) {
  if (installed.substr(0, kShortVersion) != L"5.5") return RefuseVersion(1119, installed, target);
  if (localTumInstalled) WarnOfLocalUpdateManager(1200);
  gProperties[L"MIGRATION_TYPE"] = L"management";
  gProperties[L"KV_VERSION"] = L"5.5";
  std::wstring port;
  if (!Host::ReadRegistryString(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Ostrel, Inc.\\Ostrel Kelvane",
                                L"HttpsProxyPort", port)) {
    return Refuse(1120);
  }
  SetKelvaneServer(L"5.5", port);
  return true;
}

bool DiscoverSingleSignOn55(bool besideKelvaneServer) {
  gProperties[L"MIGRATION_TYPE"] = besideKelvaneServer ? L"embedded" : L"infrastructure";
  if (!besideKelvaneServer && localTumInstalled) WarnOfLocalUpdateManager(1199);
  gProperties[L"SSO_VERSION"] = L"5.5";
  std::wstring port;
  if (!Host::ReadRegistryString(HKEY_LOCAL_MACHINE,
                                L"SOFTWARE\\Ostrel, Inc.\\Ostrel Infrastructure\\SSOServer",
                                L"HttpsPort", port)) {
    return Refuse(1121);
  }
  gProperties[L"SSO_HTTPS_PORT"] = port;
  SetSingleSignOnUrl(port, DefaultSsoDomain);
  return true;
}

/// A machine without a server: Tarmis Update Manager alone, or nothing.
bool DiscoverUpdateManager(const std::wstring& installed, const std::wstring& target) {
  if (!automatedTumUpgrade || installed.empty()) return RefuseNothingFound(1122, target);
  const std::wstring version = installed.substr(0, kShortVersion);
  if (version != L"5.5" && version != L"6.0") return RefuseNothingFound(1164, target);
  gProperties[L"MIGRATION_TYPE"] = L"tum";
  SetSourceAndTargetProducts(L"tum", version, target);
  return true;
}

bool DiscoverOlderProducts(const InstalledVersions& installed, const std::wstring& target) {
  const bool kelvaneServer = !installed.kelvaneServer.empty();
  const bool singleSignOn = !installed.singleSignOn55.empty();
  if (!kelvaneServer && !singleSignOn) {
    return DiscoverUpdateManager(installed.updateManager, target);
  }
  if (kelvaneServer && !DiscoverKelvaneServer55(installed.kelvaneServer, target)) return false;
  if (singleSignOn && !DiscoverSingleSignOn55(kelvaneServer)) return false;
  SetSourceAndTargetProducts(gProperties[L"MIGRATION_TYPE"], L"5.5", target);
  return true;
}

}  // namespace

bool DiscoverInstalledProducts() {
  LogScope log;
  const InstalledVersions installed = ReadInstalledVersions();
  if (!installed.updateManager.empty()) {
    log.Info(L"DiscoverInstalledProducts: Locally installed TUM detected.");
    localTumInstalled = true;
  }
  const std::wstring target = gProperties[L"TARGET_VERSION"];
  if (!installed.singleSignOn51.empty()) return Refuse(1115, {target});
  if (!installed.platformInstaller.empty()) {
    return DiscoverPlatformProducts(installed.platformInstaller, target);
  }
  return DiscoverOlderProducts(installed, target);
}

}  // namespace Halvard::Discovery
