#include "network/name_validation.h"

#include <string_view>

#include "core/logging.h"
#include "network/directory_domain.h"
#include "network/fqdn_check.h"
#include "network/host_name_check.h"
#include "network/name_resolution.h"

namespace Halvard::Network {
namespace {

/// What the checks of one family have found out.
struct FamilyFindings {
  bool usable = false;
  bool loopback = false;
  bool dhcp = false;
  bool literal = false;
  bool fqdn = false;
};

/// A family and its lines in the log.
struct Family {
  bool ipv4;
  WideFormat<> literalChecked;
  WideFormat<> nameFailed;
  WideFormat<const wchar_t*> noFqdn;
  WideFormat<> noPrimary;
};

constexpr Family kIpv4 = {
    true,
    L"ValidateFqdn: Checked IPv4 address",
    L"ValidateFqdn: Check failed for IPv4 address and name",
    L"ValidateFqdn: name %ws isn't a IPv4 FQDN",
    L"ValidateFqdn: Secondary FQDN check could not resolve primary IPv4 address",
};
constexpr Family kIpv6 = {
    false,
    L"ValidateFqdn: Checked IPv6 address",
    L"ValidateFqdn: Check failed for IPv6 address and name",
    L"ValidateFqdn: name %ws isn't a IPv6 FQDN",
    L"ValidateFqdn: Secondary FQDN check could not resolve primary IPv6 address",
};

bool Refuse(const std::wstring& name) {
  LogScope log;
  log.Error(
      L"ValidateFqdn: '%s' is not a DNS name, IPv4 or IPv6 address, and is not supported for migration.",
      name.c_str());
  return false;
}

bool HasOnlyNameCharacters(const std::wstring& name) {
  constexpr std::wstring_view kAllowed =
      L"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789.-";
  return name.find_first_not_of(kAllowed) == std::wstring::npos;
}

/// \return True when \p name is an address of the family, whether or not it's any good.
bool CheckLiteral(const std::wstring& name, const Family& family, FamilyFindings& findings) {
  AddressCheckCounts counts;
  if (!CheckHostNameOrAddr(name, true, family.ipv4, &counts)) return false;
  LogScope log;
  log.Info(family.literalChecked);
  findings.usable = counts.primaryOnSystem;
  findings.loopback = counts.loopback;
  findings.dhcp = counts.dhcp > 0;
  findings.literal = true;
  return true;
}

/// The second opinion on a name that the resolver knows.
/// \return True when DNS knows it too.
bool CheckFqdn(const std::wstring& name, const Family& family) {
  LogScope log;
  AddressCheckCounts counts;
  if (!IsFQDN(name, family.ipv4, &counts)) {
    log.Warn(family.noFqdn, name.c_str());
    return false;
  }
  log.Info(L"ValidateFqdn: %d of %d of FQDN IPs are on system", counts.onSystem, counts.total);
  if (!counts.primaryOnSystem) log.Warn(family.noPrimary);
  return true;
}

void CheckName(const std::wstring& name, const Family& family, FamilyFindings& findings) {
  LogScope log;
  AddressCheckCounts counts;
  if (!CheckHostNameOrAddr(name, false, family.ipv4, &counts) || !counts.primaryOnSystem) {
    log.Info(family.nameFailed);
    return;
  }
  findings.usable = true;
  findings.loopback = counts.loopback;
  findings.dhcp = counts.dhcp > 0;
  if (!findings.loopback) findings.fqdn = CheckFqdn(name, family);
}

/// A loopback address is tolerated only beside another family that is usable and more than that.
void ReconcileLoopback(FamilyFindings& ipv4, FamilyFindings& ipv6) {
  const bool ipv4Alone = ipv4.loopback && (ipv6.loopback || !ipv6.usable);
  const bool ipv6Alone = !ipv4.loopback && ipv6.loopback && !ipv4.usable;
  if (!ipv4Alone && !ipv6Alone) return;
  ipv4.usable = false;
  ipv6.usable = false;
}

bool IsKnown(const FamilyFindings& findings) { return findings.literal || findings.fqdn; }

bool IsDhcpLiteral(const FamilyFindings& findings) { return findings.literal && findings.dhcp; }

/// \return True when DHCP doesn't stand against the name.
bool CheckDhcp(const std::wstring& name, bool allowDhcp, const FamilyFindings& ipv4,
               const FamilyFindings& ipv6) {
  LogScope log;
  if (allowDhcp) {
    log.Info(L"ValidateFqdn: Allowing DHCP IP addresses.");
    return true;
  }
  if (!IsDhcpLiteral(ipv4) && !IsDhcpLiteral(ipv6)) return true;
  log.Error(
      L"ValidateFqdn: IP Address '%s' is assigned using DHCP, and is not supported for migration.",
      name.c_str());
  return false;
}

void ReportUnusable(const std::wstring& name, const FamilyFindings& ipv4,
                    const FamilyFindings& ipv6) {
  LogScope log;
  // Doesn't happen as long as an empty name is refused at the start.
  if (name.empty()) {
    log.Error(L"ValidateFqdn: Address/name is empty");
  } else if (!ipv4.loopback && !ipv6.loopback) {
    log.Error(L"ValidateFqdn: Name/address \"%ws\" did not work for IPv4 or IPv6", name.c_str());
  } else {
    log.Error(L"ValidateFqdn: Name/address \"%ws\" was only usable for loopback", name.c_str());
  }
}

}  // namespace

bool ValidatePnidWithFqdnCompatibility(const std::wstring& name) {
  if (IsIpLiteral(name)) return true;
  LogScope log;
  ActiveDirectoryConfig config;
  if (!GetActiveDirectoryConfig(config)) {
    log.Error(
        L"ValidatePnidWithFqdnCompatibility: Failed to retrieve the Active Directory configuration.");
    return false;
  }
  if (config.domainName.empty()) return true;
  const std::wstring fqdn = GetSystemFqdn();
  if (!fqdn.empty() && _wcsicmp(fqdn.c_str(), name.c_str()) != 0) {
    log.Info(L"ValidatePnidWithFqdnCompatibility: appNetPnid [%s] is not equal to hostname [%s]",
             name.c_str(), fqdn.c_str());
    return false;
  }
  log.Info(L"ValidatePnidWithFqdnCompatibility: appNetPnid [%s] is equal to hostname [%s]",
           name.c_str(), fqdn.c_str());
  return true;
}

bool ValidateFqdn(const std::wstring& name, bool allowDhcp) {
  LogScope log;
  log.Info(L"ValidateFqdn: Asked to verify: \"%ws\"", name.c_str());
  if (name.empty()) return Refuse(name);
  if (!ValidatePnidWithFqdnCompatibility(name)) {
    log.Error(L"ValidateFqdn: Failed to validate system name with Fqdn.");
    return false;
  }
  FamilyFindings ipv4;
  FamilyFindings ipv6;
  if (!CheckLiteral(name, kIpv4, ipv4) && !CheckLiteral(name, kIpv6, ipv6)) {
    if (!HasOnlyNameCharacters(name)) return Refuse(name);
    CheckName(name, kIpv4, ipv4);
    CheckName(name, kIpv6, ipv6);
  }
  ReconcileLoopback(ipv4, ipv6);
  if (!IsKnown(ipv4) && !IsKnown(ipv6)) return Refuse(name);
  if (!CheckDhcp(name, allowDhcp, ipv4, ipv6)) return false;
  if (ipv4.usable || ipv6.usable) return true;
  ReportUnusable(name, ipv4, ipv6);
  return false;
}

}  // namespace Halvard::Network
