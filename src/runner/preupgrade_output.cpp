#include "runner/preupgrade_output.h"

#include "core/logging.h"
#include "core/property_store.h"
#include "core/text.h"
#include "discovery/system_name.h"
#include "runner/export_estimates.h"

namespace Halvard::Runner {
namespace {

using Discovery::AddressKind;
using Discovery::ComponentIdentity;
using Discovery::SystemNameSources;

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

using IdentityLine = WideFormat<const wchar_t*, const wchar_t*, const wchar_t*>;

/// \param addresses  Name of the member with the certificate's addresses.
/// \param names      Name of the member with the certificate's names.
/// \param line       Log line with places for the three texts.
ComponentIdentity ReadIdentity(const Json::Value& arguments, const char* addresses,
                               const char* names, const IdentityLine& line) {
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
