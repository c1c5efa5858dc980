#include "discovery/certificate_names.h"

#include <algorithm>
#include <iterator>

#include "core/logging.h"
#include "host/windows_api.h"
#include "network/name_resolution.h"
#include "network/name_validation.h"

namespace Halvard::Discovery {
namespace {

bool EqualIgnoringCase(const wchar_t* left, const wchar_t* right) {
  return _wcsicmp(left, right) == 0;
}

/// \param wildcard  Where the first "*" of the name is.
bool IsCoveredByWildcard(const std::wstring& address, const std::wstring& dnsName,
                         std::size_t wildcard) {
  if (wildcard != 0 || dnsName.find(L'*', 1) != std::wstring::npos) {
    LogScope log;
    log.Info(
        L"IsAddrCompatibleWithCertDnsName: Wildcard DNS name '%s' in the certificate seems to be formatted incorrectly.",
        dnsName.c_str());
    return false;
  }
  const std::size_t dot = address.find(L'.');
  if (dnsName.size() == 1) return dot == std::wstring::npos;
  // The wildcard stands for the first label and no more.
  return dot != std::wstring::npos && EqualIgnoringCase(address.c_str() + dot, dnsName.c_str() + 1);
}

bool IsCoveredBy(const std::wstring& address, const std::wstring& dnsName) {
  if (Network::IsIpLiteral(address)) return false;
  const std::size_t wildcard = dnsName.find(L'*');
  if (wildcard != std::wstring::npos) return IsCoveredByWildcard(address, dnsName, wildcard);
  return EqualIgnoringCase(address.c_str(), dnsName.c_str());
}

/// \return The first member that this machine can keep as its name; empty when there is none.
std::wstring FirstUsable(const NameSet& members) {
  const auto found = std::ranges::find_if(members, [](const std::wstring& member) {
    return !HasWildcard(member) && Network::ValidateFqdn(member, false);
  });
  return found == members.end() ? std::wstring() : *found;
}

}  // namespace

void KeepByAddressKind(NameSet& members, AddressKind kind) {
  std::erase_if(members, [kind](const std::wstring& member) {
    return Network::IsIpLiteral(member) != (kind == AddressKind::kIpLiteral);
  });
}

NameSet IntersectSets(const NameSet& a, const NameSet& b) {
  NameSet common;
  std::ranges::set_intersection(a, b, std::inserter(common, common.end()));
  return common;
}

bool HasWildcard(const std::wstring& dnsName) { return dnsName.find(L'*') != std::wstring::npos; }

bool IsAddrCompatibleWithCertDnsName(const std::wstring& address, const std::wstring& dnsName) {
  LogScope log;
  const bool covered = IsCoveredBy(address, dnsName);
  if (covered) {
    log.Info(L"IsAddrCompatibleWithCertDnsName: Address '%s' is compatible with DNS name '%s'.",
             address.c_str(), dnsName.c_str());
  } else {
    log.Info(L"IsAddrCompatibleWithCertDnsName: Address '%s' is not compatible with DNS name '%s'.",
             address.c_str(), dnsName.c_str());
  }
  return covered;
}

bool IsAddrCompatibleWithCert(const std::wstring& address, const NameSet& ipSet,
                              const NameSet& dnsSet) {
  if (!Network::IsIpLiteral(address)) {
    return std::ranges::any_of(dnsSet, [&](const std::wstring& dnsName) {
      return IsAddrCompatibleWithCertDnsName(address, dnsName);
    });
  }
  if (!ipSet.contains(address)) return false;
  LogScope log;
  log.Info(
      L"IsAddrCompatibleWithCert: Address '%s' is compatible with an IP present in the certificate",
      address.c_str());
  return true;
}

std::wstring SelectAppNetPnid(const std::wstring& pnid, const NameSet& ipSet,
                              const NameSet& dnsSet) {
  LogScope log;
  if (ipSet.empty() && dnsSet.empty()) {
    log.Error(L"SelectAppNetPnid: No IPs or FQDNs present in the certificate.");
    return {};
  }
  if (IsAddrCompatibleWithCert(pnid, ipSet, dnsSet) && Network::ValidateFqdn(pnid, false)) {
    log.Info(L"SelectAppNetPnid: Selecting the passed AppNetPnid: %s", pnid.c_str());
    return pnid;
  }
  if (const std::wstring name = FirstUsable(dnsSet); !name.empty()) {
    log.Info(
        L"SelectAppNetPnid: Selected a DNS name from the certificate as the new AppNetPnid: %s",
        name.c_str());
    return name;
  }
  if (const std::wstring address = FirstUsable(ipSet); !address.empty()) {
    log.Info(L"SelectAppNetPnid: Selected an IP from the certificate as the new AppNetPnid: %s",
             address.c_str());
    return address;
  }
  log.Error(
      L"SelectAppNetPnid: No IPs or FQDNs present in the certificate are valid for this system.");
  return {};
}

}  // namespace Halvard::Discovery
