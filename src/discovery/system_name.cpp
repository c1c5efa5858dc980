#include "discovery/system_name.h"

#include <vector>

#include "core/logging.h"
#include "core/messages.h"
#include "core/property_store.h"
#include "core/text.h"
#include "host/registry.h"
#include "network/name_validation.h"

namespace Halvard::Discovery {
namespace {

bool ComesFromPlatformInstaller() { return gProperties[L"RIMSAWIN_INSTALLED"] == L"1"; }

/// Tells what is wrong, and how to mend it, in the log and in PNID_ERROR.
void ReportFailure(unsigned int error, unsigned int resolution,
                   const std::vector<std::wstring>& arguments = {}) {
  LogScope log;
  log.Error(L"ParsePreUpgradeOutput: %s", GetLocalizedStringIn(error, arguments, "en").c_str());
  log.Info(L"ParsePreUpgradeOutput: %s", GetLocalizedStringIn(resolution, arguments, "en").c_str());
  const std::string locale = WideToUtf8(gProperties[L"MC_LOCALE"].Value());
  gProperties[L"PNID_ERROR"] = GetLocalizedStringIn(error, arguments, locale) + L"\n" +
                               GetLocalizedStringIn(resolution, arguments, locale);
}

/// The platform installer has checked the name against the certificate itself.
bool TakePlatformName(std::wstring name) {
  LogScope log;
  if (name.empty()) {
    name = Host::GetInstallParameter(L"system.hostname");
    log.Info(L"ParsePreUpgradeOutput: Read AppNetPnid from install parameter: [%s].", name.c_str());
  }
  if (name.empty()) {
    ReportFailure(1113, 1114, {gProperties[L"SOURCE_PRODUCT_WITH_VERSION"]});
    return false;
  }
  log.Info(L"ParsePreUpgradeOutput: Setting AppNetPnid to [%s]", name.c_str());
  gProperties[L"APP_NET_PNID"] = name;
  return true;
}

/// \param name  Empty for none; it is stored all the same, in place of one chosen earlier.
bool StoreChoice(const std::wstring& name, unsigned int error, unsigned int resolution) {
  if (name.empty()) ReportFailure(error, resolution);
  LogScope log;
  log.Info(L"ParsePreUpgradeOutput: Populated AppNetPnid from PreUpgradeOutput: [%s].",
           name.c_str());
  gProperties[L"APP_NET_PNID"] = name;
  return !name.empty();
}

bool IsCoveredBy(const std::wstring& name, const ComponentIdentity& component) {
  return IsAddrCompatibleWithCert(name, component.certIps, component.certDnsNames);
}

/// Of two names, one of which may be a wildcard that covers the other, what both certificates
/// cover. \return Empty when there is none.
std::wstring CommonName(const std::wstring& kvName, const std::wstring& ssoName) {
  if (!HasWildcard(kvName) && IsAddrCompatibleWithCertDnsName(kvName, ssoName) &&
      Network::ValidateFqdn(kvName, false)) {
    return kvName;
  }
  // It is the Kelvane Server's name that has to be usable here as well. A wildcard never is, so a
  // plain name under one isn't taken.
  if (!HasWildcard(ssoName) && IsAddrCompatibleWithCertDnsName(ssoName, kvName) &&
      Network::ValidateFqdn(kvName, false)) {
    return ssoName;
  }
  return {};
}

std::wstring SelectCommonName(const NameSet& kvNames, const NameSet& ssoNames) {
  for (const std::wstring& kvName : kvNames) {
    for (const std::wstring& ssoName : ssoNames) {
      std::wstring name = CommonName(kvName, ssoName);
      if (!name.empty()) return name;
    }
  }
  return {};
}

/// Chooses a name that fits both certificates of a machine that holds both components.
/// \return Empty when there is none.
std::wstring SelectForBoth(const ComponentIdentity& kv, const ComponentIdentity& sso) {
  for (const std::wstring& pnid : {kv.pnid, sso.pnid}) {
    if (IsCoveredBy(pnid, sso) && IsCoveredBy(pnid, kv) && Network::ValidateFqdn(pnid, false)) {
      return pnid;
    }
  }
  std::wstring name = SelectCommonName(kv.certDnsNames, sso.certDnsNames);
  if (!name.empty()) return name;
  for (const std::wstring& address : IntersectSets(sso.certIps, kv.certIps)) {
    if (Network::ValidateFqdn(address, false)) return address;
  }
  return {};
}

/// What the agent's certificate is to hold.
struct CertificateLists {
  NameSet addresses;
  NameSet names;
};

void AddUsable(const ComponentIdentity& component, CertificateLists& lists) {
  for (const std::wstring& address : component.certIps) {
    if (Network::ValidateFqdn(address, true)) lists.addresses.insert(address);
  }
  for (const std::wstring& name : component.certDnsNames) {
    if (!HasWildcard(name) && Network::ValidateFqdn(name, true)) lists.names.insert(name);
  }
}

CertificateLists CollectCertificateLists(const SystemNameSources& sources) {
  CertificateLists lists;
  if (ComesFromPlatformInstaller()) {
    lists = {sources.afd.certIps, sources.afd.certDnsNames};
    std::erase_if(lists.names, HasWildcard);
    return lists;
  }
  const std::wstring type = gProperties[L"MIGRATION_TYPE"];
  if (type == L"infrastructure" || type == L"embedded") AddUsable(sources.sso, lists);
  if (type == L"management" || type == L"embedded") AddUsable(sources.kv, lists);
  return lists;
}

}  // namespace

bool ChooseSystemName(const SystemNameSources& sources) {
  if (ComesFromPlatformInstaller()) return TakePlatformName(sources.afd.pnid);
  const auto& [kv, sso, afd] = sources;
  const std::wstring type = gProperties[L"MIGRATION_TYPE"];
  if (type == L"infrastructure") {
    return StoreChoice(SelectAppNetPnid(sso.pnid, sso.certIps, sso.certDnsNames), 1105, 1106);
  }
  if (type == L"management") {
    return StoreChoice(SelectAppNetPnid(kv.pnid, kv.certIps, kv.certDnsNames), 1107, 1108);
  }
  if (type == L"embedded") return StoreChoice(SelectForBoth(kv, sso), 1109, 1110);
  return true;
}

void FillCertificateLists(const SystemNameSources& sources) {
  const auto& [addresses, names] = CollectCertificateLists(sources);
  const std::wstring joinedAddresses = JoinSet(addresses, L",");
  const std::wstring joinedNames = JoinSet(names, L",");
  gProperties[L"CERT_IP_ADDRESSES"] = joinedAddresses;
  gProperties[L"CERT_DNS_NAMES"] = joinedNames;
  LogScope log;
  log.Info(
      L"ParsePreUpgradeOutput: Certificate values retrieved IP Addresses: [%s] DNS Names: [%s].",
      joinedAddresses.c_str(), joinedNames.c_str());
}

}  // namespace Halvard::Discovery
