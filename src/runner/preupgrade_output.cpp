#include "runner/preupgrade_output.h"

#include "core/environment.h"
#include "core/json_files.h"
#include "core/logging.h"
#include "core/property_store.h"
#include "core/temp_directory.h"
#include "core/text.h"
#include "discovery/system_name.h"
#include "runner/runner_launch.h"

namespace Halvard::Runner {
namespace {

using Discovery::AddressKind;
using Discovery::ComponentIdentity;
using Discovery::SystemNameSources;

/// The time in which the phase counts as running. A phase that never ended would have every later
/// one refused, so an exception ends it as well.
class PreUpgradePhase {
 public:
  explicit PreUpgradePhase(Json::Value& output) : output_(output) {
    output_ = Json::Value();
    gProperties[L"PREUPGRADE_CHECKS_STATUS"] = L"RUNNING";
    log_.Info(
        L"LaunchUpgradeRunnerPreUpgradePhase: Changed the status of pre-upgrade checks to: %s",
        L"RUNNING");
  }
  PreUpgradePhase(const PreUpgradePhase&) = delete;
  PreUpgradePhase& operator=(const PreUpgradePhase&) = delete;
  ~PreUpgradePhase() {
    gProperties[L"PREUPGRADE_CHECKS_STATUS"] = L"FINISHED";
    log_.Info(
        L"LaunchUpgradeRunnerPreUpgradePhase: Changed the status of pre-upgrade checks to: %ws",
        L"FINISHED");
    gCachedPrecheckResults = output_;
  }

 private:
  LogScope log_;
  Json::Value& output_;
};

/// Reads the runner's output, and removes the file with it.
bool LoadOutput(Json::Value& output) {
  const std::wstring path = GetTempDirectory() + kRequirementsOutputFile;
  const DWORD flags = EnvironmentVariableExists(L"KEEP_UR_JSON_FILES")
                          ? DWORD{FILE_ATTRIBUTE_NORMAL}
                          : DWORD{FILE_FLAG_DELETE_ON_CLOSE};
  if (LoadJsonFromFile(path, output, flags)) return true;
  const DWORD error = GetLastError();
  // What the reader made of it up to the error is of no use to anybody.
  output = Json::Value();
  LogScope log;
  log.Warn(L"LaunchUpgradeRunnerPreUpgradePhase: Failed to load Json from %s file. Error code: %d",
           path.c_str(), error);
  return false;
}

void LogParseFailure(bool estimatesOnly) {
  LogScope log;
  if (estimatesOnly) {
    log.Error(
        L"LaunchUpgradeRunnerPreUpgradePhase: Failed to parse preupgrade output to retrieve export estimates.");
  } else {
    log.Error(L"LaunchUpgradeRunnerPreUpgradePhase: Failed to parse preupgrade output.");
  }
}

/// Takes from the output what a migration of this type needs.
void ParseOutput(const Json::Value& output) {
  const bool estimatesOnly = gProperties[L"MIGRATION_TYPE"] == L"tum";
  try {
    const bool parsed = estimatesOnly ? ParseExportEstimatesFromPreUpgradeOutput(output)
                                      : ParsePreUpgradeOutput(output);
    if (!parsed) LogParseFailure(estimatesOnly);
  } catch (const Json::Exception&) {
    LogParseFailure(estimatesOnly);
    throw;
  }
}

std::wstring Text(const Json::Value& object, const char* member) {
  return Utf8ToWide(object[member].asString());
}

void StoreDatabaseType(const Json::Value& arguments) {
  LogScope log;
  const std::wstring type = Text(arguments, "src.db.type");
  gProperties[L"SRC_DB_TYPE"] = type;
  log.Info(L"ParsePreUpgradeOutput: Database settings: Type='%s'", type.c_str());
}

void StoreInfrastructureNode(const Json::Value& arguments) {
  LogScope log;
  const std::wstring host = Text(arguments, "kelvd.sso.host");
  const std::wstring url = Text(arguments, "kelvd.sso.sts.url");
  gProperties[L"INFRA_NODE_ADDRESS"] = host;
  gProperties[L"SSO_STS_URL"] = url;
  log.Info(L"ParsePreUpgradeOutput: Retrieved infra node address: [%s] and sso.sts.url [%s].",
           host.c_str(), url.c_str());
}

/// \param addresses  Name of the member with the certificate's addresses.
/// \param names      Name of the member with the certificate's names.
/// \param line       Log line with places for the three texts.
ComponentIdentity ReadIdentity(const Json::Value& arguments, const char* addresses,
                               const char* names, const wchar_t* line) {
  LogScope log;
  const std::wstring pnid = Text(arguments, "appliance.net.pnid");
  const std::wstring addressList = Text(arguments, addresses);
  const std::wstring nameList = Text(arguments, names);
  log.Info(line, pnid.c_str(), addressList.c_str(), nameList.c_str());
  ComponentIdentity identity{pnid, SplitToSet(addressList, L','), SplitToSet(nameList, L',')};
  KeepByAddressKind(identity.certIps, AddressKind::kIpLiteral);
  KeepByAddressKind(identity.certDnsNames, AddressKind::kName);
  return identity;
}

/// Takes what one component tells of the source.
void ReadComponent(const Json::Value& component, SystemNameSources& sources) {
  const std::string name = component["name"].asString();
  const Json::Value& arguments = component["requirements"]["extraArguments"];
  if (name == "com.ostrel.keldb") {
    StoreDatabaseType(arguments);
  } else if (name == "com.ostrel.kelvd") {
    StoreInfrastructureNode(arguments);
    sources.kv = ReadIdentity(
        arguments, "kelvd.cert.ip", "kelvd.cert.dns",
        L"ParsePreUpgradeOutput: KV machine/cert parameters. AppNetPnid: [%s], CertIPs: [%s], CertFQDNs: [%s].");
  } else if (name == "com.ostrel.sso") {
    sources.sso = ReadIdentity(
        arguments, "sso.cert.ipaddresses", "sso.cert.dnsnames",
        L"ParsePreUpgradeOutput: SSO machine/cert parameters. AppNetPnid: [%s], CertIPs: [%s], CertFQDNs: [%s].");
  } else if (name == "com.ostrel.ostrelafd") {
    sources.afd = ReadIdentity(
        arguments, "tevos.cert.ipaddresses", "tevos.cert.dnsnames",
        L"ParsePreUpgradeOutput: OSTRELAFD cert parameters. AppNetPnid: [%s], CertIPs: [%s], CertFQDNs: [%s].");
  }
}

}  // namespace

int LaunchUpgradeRunnerPreUpgradePhase(Json::Value& output) {
  const PreUpgradePhase phase(output);
  const int result = LaunchUpgradeRunnerCommon(RunnerPhaseRequirements);
  // A runner that failed may have written its findings all the same.
  if (LoadOutput(output)) ParseOutput(output);
  return result;
}

bool ParsePreUpgradeOutput(const Json::Value& output) {
  if (!output.isArray()) {
    LogScope log;
    log.Error(
        L"ParsePreUpgradeOutput: UpgradeRunner PreUpgrade output is not formatted correctly.");
    return false;
  }
  if (!ParseExportEstimatesFromPreUpgradeOutput(output)) return false;
  SystemNameSources sources;
  for (const Json::Value& component : output) ReadComponent(component, sources);
  const bool chosen = Discovery::ChooseSystemName(sources);
  Discovery::FillCertificateLists(sources);
  return chosen;
}

}  // namespace Halvard::Runner
