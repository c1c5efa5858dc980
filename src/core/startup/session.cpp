#include "core/startup/session.h"

#include <cstdint>

#include "core/console.h"
#include "core/environment.h"
#include "core/logging.h"
#include "core/messages.h"
#include "core/migration_type.h"
#include "core/property_store.h"
#include "core/server_lifetime.h"
#include "core/start_failure.h"
#include "core/startup/agent_registration.h"
#include "core/startup/deployment_size.h"
#include "core/startup/operator_console.h"
#include "core/startup/port_choice.h"
#include "core/startup/settings_summary.h"
#include "core/startup/status_file.h"
#include "core/text.h"
#include "discovery/coinstalled_extensions.h"
#include "discovery/installed_products.h"
#include "discovery/premigration_checks.h"
#include "discovery/update_manager_record.h"
#include "host/registry.h"
#include "host/windows_api.h"
#include "network/network_choice.h"
#include "security/certificate.h"
#include "security/https_server.h"
#include "security/service_accounts.h"
#include "serverclient/inventory_size.h"

namespace Halvard {
namespace {

bool DiscoverSource(Session& session) {
  if (!Discovery::DiscoverInstalledProducts()) return false;
  session.migrationType = gProperties[L"MIGRATION_TYPE"].Value();
  session.adapters.emplace();
  return true;
}

bool ReadTumInfo(Session& session) {
  if (!Discovery::RetrieveTumInfoFromRegistry(session.tumInfo)) {
    ReportFatal(L"wmain: %s", 1165);
    return false;
  }
  Discovery::SetRequiredTumProperties(session.tumInfo);
  return true;
}

bool FindServiceAccount(Session& session) {
  if (!Security::RetrieveKelvdServiceAccountUser()) {
    ReportFatal(L"wmain: %s", 1127);
    return false;
  }
  session.input.kvSaUser = gProperties[L"KELVD_SA_USER"].Value();
  return true;
}

/// What a migration of this type needs to know of the machine beyond its products.
bool ExamineSource(Session& session) {
  if (session.migrationType == L"infrastructure") {
    if (Discovery::DiscoverExtensionsWithSSO()) return true;
    PrintLine(GetLocalizedString(1045));
    return false;
  }
  if (session.migrationType == L"tum") return ReadTumInfo(session);
  // The platform installer's file may name any type. Of another there is nothing more to know.
  return !HasKelvaneServer(session.migrationType) || FindServiceAccount(session);
}

bool DeriveAdministrator(Session& session) {
  UserInput& input = session.input;
  if (gProperties[L"RIMSAWIN_INSTALLED"] == L"1") {
    const std::wstring domain = Host::GetInstallParameter(L"ostreldir.domain-name");
    if (domain.empty()) {
      ReportFatal(L"wmain: %s", 1131);
      return false;
    }
    input.ssoUser = L"Administrator@" + domain;
  } else if (session.migrationType == L"tum") {
    input.ssoUser = session.tumInfo.kvUserName;
  } else {
    input.ssoUser = std::wstring(L"Administrator@") + DefaultSsoDomain;
  }
  return true;
}

bool TakeInput(Session& session) {
  return session.argc == 1 ? CollectRequiredUserInput(session.input, session.tumInfo)
                           : ValidateCommandLineInput(session.input, session.tumInfo);
}

void AskToKeepConsoleOpen() {
  PrintLine();
  Print(RuleLine());
  PrintLine(kIndent + GetLocalizedString(1181));
  PrintLine(RuleLine());
}

bool ExtractRunner(Session& session) {
  session.extractor.emplace();
  if (session.extractor->Extracted()) return true;
  gProperties[L"HV_INIT_ERROR"] = L"Failed to extract Halvard scripts.";
  return false;
}

void StoreAdministrator(const Session& session) {
  gProperties[L"SSO_USERNAME"] = session.input.ssoUser;
  gProperties[L"SSO_PASSWORD"] = session.input.ssoPassword;
}

/// A failed query doesn't stop the run: it counts as an empty inventory, also where it broke off in
/// the middle of the count.
bool SizeInventory(const Session& session) {
  if (!HasKelvaneServer(session.migrationType)) return true;
  LogScope log;
  std::int32_t hosts = 0;
  std::int32_t machines = 0;
  const int port = _wtoi(gProperties[L"KV_HTTPS_PORT"].Value().c_str());
  if (!ServerClient::GetInventorySize("localhost", port, "", "", WideToUtf8(session.input.ssoUser),
                                      WideToUtf8(session.input.ssoPassword), hosts, machines)) {
    PrintLine(GetLocalizedString(1059));
    hosts = 0;
    machines = 0;
  }
  log.Info(L"wmain: Inventory size retrieved. Num of Hosts: %d, Num of VMs: %d", hosts, machines);
  return SetDeploymentSize(hosts, machines);
}

/// A stop for whoever wants to look at the machine before the checks run.
void PauseForDebugging() {
  if (!EnvironmentVariableExists(L"HV_DEBUG_PAUSE")) return;
  PrintLine(GetLocalizedString(1022));
  Print(GetLocalizedString(1015));
  (void)ReadLine();
}

/// An update manager has no network that would migrate.
bool SettleNetwork(const Session& session) {
  if (session.migrationType == L"tum") return true;
  return Network::CollectNetworkToMigrate(session.input, session.argc) &&
         Discovery::CheckDefaultGateway();
}

std::wstring GenerateCertificate(const Session& session) {
  if (session.migrationType == L"tum") {
    return Security::GenerateSSLCertificate(session.tumInfo.tumServer);
  }
  return Security::GenerateSSLCertificate(
      gProperties[L"APP_NET_PNID"], SplitString(gProperties[L"CERT_IP_ADDRESSES"].Value(), L','),
      SplitString(gProperties[L"CERT_DNS_NAMES"].Value(), L','));
}

bool MakeCertificate(const Session& session) {
  const std::wstring thumbprint = GenerateCertificate(session);
  if (thumbprint.empty()) {
    LogScope log;
    PrintLine(GetLocalizedString(1048));
    log.Error(L"wmain: Failed to generate Halvard SSL certificate.");
    gProperties[L"HV_INIT_ERROR"] = L"Failed to generate Halvard SSL certificate.";
    return false;
  }
  gProperties[L"HV_THUMBPRINT"] = thumbprint;
  return true;
}

/// Clients come from other machines. What keeps the firewall from letting them in shows in the log.
void OpenFirewall(Session& session) {
  session.firewallOpening.emplace(session.input.hvPort, L"Ostrel-Halvard (Temporary)");
}

bool StartServer(Session& session) {
  session.scheduler.emplace();
  if (Security::SetupAndStartHttpsServer(*session.scheduler, session.input.hvPort)) return true;
  LogScope log;
  log.Error(L"wmain: Failed to setup the HTTPs server.");
  return false;
}

void AnnounceService(const Session& session) {
  PrintSettingsAndSteps(session.tumInfo);
  PrintLine();
  PrintLine(GetLocalizedString(1021));
  gProperties[L"HV_INIT_ERROR"] = L"";
  // Whoever started the agent goes by this file: when it appears, the server is up.
  CreateHVStatusFile();
}

}  // namespace

// The server has to be gone before its scheduler, also after a failure.
Session::~Session() { DestroyServer(); }

bool StartSession(Session& session) {
  if (!DiscoverSource(session)) return false;
  if (!ExamineSource(session)) return false;
  if (!DeriveAdministrator(session)) return false;
  if (!TakeInput(session)) return false;
  if (!PickHVPort(session.input)) return false;
  AskToKeepConsoleOpen();
  if (!ExtractRunner(session)) return false;
  StoreAdministrator(session);
  if (!SizeInventory(session)) return false;
  PauseForDebugging();
  if (!Discovery::RunPreMigrationChecks(session.argc)) return false;
  if (!SettleNetwork(session)) return false;
  if (!MakeCertificate(session)) return false;
  OpenFirewall(session);
  if (!StartServer(session)) return false;
  if (!RegisterAgent(session)) return false;
  AnnounceService(session);
  return true;
}

void ServeUntilStopped(const Session& session) {
  JoinServer();
  UnregisterAgent(session);
  DestroyServer();
}

}  // namespace Halvard
