#include "discovery/premigration_checks.h"

#include <json/value.h>

#include <string>

#include "core/console.h"
#include "core/logging.h"
#include "core/messages.h"
#include "core/property_store.h"
#include "core/start_failure.h"
#include "core/text.h"
#include "host/windows_api.h"
#include "network/network_configuration.h"
#include "network/time_servers.h"
#include "runner/precheck_findings.h"
#include "runner/preupgrade_phase.h"
#include "security/controller_version.h"
#include "security/export_directory.h"

namespace Halvard::Discovery {
namespace {

/// Ends start-up with a message, and with a text of its own for the status file.
/// \return False, for the caller to hand on.
bool Refuse(unsigned int message, const wchar_t* initError) {
  PrintLine(GetLocalizedString(message));
  gProperties[L"HV_INIT_ERROR"] = initError;
  return false;
}

/// Shows a message and logs it in English.
void Announce(unsigned int message) {
  LogScope log;
  PrintLine(GetLocalizedString(message));
  log.Info(L"RunPreMigrationChecks: %s", GetLocalizedStringIn(message, "en").c_str());
}

/// The `error` of a reply; empty when it has none.
std::wstring ErrorOf(const Json::Value& reply) { return Utf8ToWide(reply["error"].asString()); }

bool RefuseFailedRunner() { return Refuse(1091, L"Failed to run Pre-Migration checks."); }

/// Judges what the runner reported. Errors come before the runner's own failure, since they tell
/// the operator more.
bool PassesFindings(const Json::Value& output, int status) {
  if (output.empty()) return RefuseFailedRunner();
  std::wstring errors;
  std::wstring warnings;
  Runner::ParseErrorsWarningsFromPreUpgradeOutput(output, errors, warnings);
  if (!errors.empty()) {
    PrintLine(GetLocalizedString(1052));
    PrintLine(errors);
    gProperties[L"HV_INIT_ERROR"] = L"Pre-migration checks failed.";
    return false;
  }
  if (status != 0) return RefuseFailedRunner();
  if (!warnings.empty()) gProperties[L"HV_WARNING_MESSAGES"] += warnings + L"\n";
  return true;
}

bool PassesRunner() {
  LogScope log;
  try {
    Json::Value output;
    const int status = Runner::LaunchUpgradeRunnerPreUpgradePhase(output);
    log.Info(L"RunPreMigrationChecks: Upgrade Runner prechecks returned status: %d", status);
    return PassesFindings(output, status);
  } catch (const Json::Exception& exception) {
    // An output that isn't made as agreed is as good as none.
    log.Error(L"RunPreMigrationChecks: The output of the Upgrade Runner can't be read: %hs",
              exception.what());
    return RefuseFailedRunner();
  }
}

/// An operator at the console may name another folder, which a command line can't.
bool SettleExportDir(int argc) {
  constexpr int kFurtherTries = 3;
  for (int tries = 0; !Security::ValidateExportDir(); ++tries) {
    if (argc != 1 || tries == kFurtherTries) {
      ReportFatal(L"RunPreMigrationChecks: %s", 1008);
      return false;
    }
    Print(GetLocalizedString(1009));
    gProperties[L"EXPORT_DIR"] = ReadLine();
  }
  return true;
}

bool HasSystemName() {
  const std::wstring error = gProperties[L"PNID_ERROR"];
  if (error.empty()) return true;
  PrintLine(GetLocalizedString(1052));
  PrintLine(error);
  return Refuse(1053, L"Failed to validate system name.");
}

bool HasTimeServers() {
  std::wstring servers;
  std::wstring type;
  Json::Value reply;
  if (Network::GetNTPServer(servers, type, reply)) return true;
  PrintLine(ErrorOf(reply));
  gProperties[L"HV_INIT_ERROR"] = L"Failed to validate NTP server.";
  return false;
}

bool RefuseVersion(unsigned int message, const std::wstring& address, const std::wstring& version) {
  ReportFatal(L"RunKvSsoBvcPreMigrationChecks: %s", message, {address, version, version});
  return false;
}

/// The node beside the Kelvane Server has to be of the target's version, no older and no newer.
bool HasControllerOfTargetVersion() {
  LogScope log;
  const std::wstring address = gProperties[L"INFRA_NODE_ADDRESS"];
  std::wstring version;
  if (!Security::RetrieveBVCMajorMinorVersion(address, version)) {
    return Refuse(1041, L"Failed to retrieve the version info from remote Belvar Controller.");
  }
  const std::wstring target = gProperties[L"TARGET_VERSION"];
  const auto bvcVersion = static_cast<float>(_wtof(version.c_str()));
  const auto targetVersion = static_cast<float>(_wtof(target.c_str()));
  log.Info(L"RunKvSsoBvcPreMigrationChecks: bvcVersion: [%f], targetVersion: [%f]", bvcVersion,
           targetVersion);
  if (bvcVersion > targetVersion) return RefuseVersion(1040, address, version);
  if (bvcVersion < targetVersion) return RefuseVersion(1039, address, target);
  return true;
}

bool RefuseMissingGateway(const std::wstring& address) {
  PrintLine(GetLocalizedString(1133) + GetLocalizedString(1217, address));
  PrintLine(GetLocalizedString(1054) + GetLocalizedString(1218));
  LogAndStoreError(L"CheckDefaultGateway: %s", 1217, {address});
  return false;
}

bool RefuseFailedCollection(const Json::Value& reply) {
  LogAndStoreError(L"CheckDefaultGateway: %s", 1064);
  PrintLine(GetLocalizedString(1133) + ErrorOf(reply));
  return false;
}

}  // namespace

bool RunPreMigrationChecks(int argc) {
  Announce(1044);
  if (!PassesRunner()) return false;
  if (!SettleExportDir(argc)) return false;
  const bool isUpdateManager = gProperties[L"MIGRATION_TYPE"] == L"tum";
  if (!isUpdateManager && !RunKvSsoBvcPreMigrationChecks(argc)) return false;
  Announce(1010);
  return true;
}

bool RunKvSsoBvcPreMigrationChecks(int /*argc*/) {
  if (!HasSystemName()) return false;
  if (!HasTimeServers()) return false;
  if (gProperties[L"MIGRATION_TYPE"] != L"management") return true;
  return HasControllerOfTargetVersion();
}

bool CheckDefaultGateway() {
  Json::Value reply;
  if (!Network::CollectNetworkIdentity(gProperties[L"APP_NET_PNID"], reply)) {
    return RefuseFailedCollection(reply);
  }
  const Json::Value& identity = reply;
  const std::wstring address = Utf8ToWide(identity["config_ipaddr4"].asString());
  const std::wstring gateway = Utf8ToWide(identity["config_gateway4"].asString());
  if (address.empty() || !gateway.empty()) return true;
  return RefuseMissingGateway(address);
}

}  // namespace Halvard::Discovery
