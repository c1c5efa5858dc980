// Choosing the system name that the appliance takes over: one that fits the source's certificates
// and that this machine can keep.
#pragma once

#include <set>
#include <string>

namespace Halvard::Discovery {

/// Ordered by code units, which is what decides between several that would do.
using NameSet = std::set<std::wstring>;

/// What one component of the source tells of its name and of its certificate.
struct ComponentIdentity {
  std::wstring pnid;
  NameSet certIps;
  NameSet certDnsNames;
};

/// What the choice is made from.
struct SystemNameSources {
  ComponentIdentity kv;
  ComponentIdentity sso;
  /// Known of a source by the platform installer alone.
  ComponentIdentity afd;
};

/// \param address  An address fits no name, whatever the name is.
/// \param dnsName  A name of a certificate; "*" for one without a dot, or with a leading "*" for
/// one
///                 whole label. Compared without regard to case. Each answer is logged.
bool IsAddrCompatibleWithCertDnsName(const std::wstring& address, const std::wstring& dnsName);

/// Tells whether a certificate covers \p address. An address has to be in it in the same spelling.
bool IsAddrCompatibleWithCert(const std::wstring& address, const NameSet& ipSet,
                              const NameSet& dnsSet);

/// Chooses the name for a source with one certificate: \p pnid if it will do, else a name of the
/// certificate, else an address of it. A name with a wildcard is never chosen.
/// \return Empty, with an error in the log, when nothing will do.
std::wstring SelectAppNetPnid(const std::wstring& pnid, const NameSet& ipSet,
                              const NameSet& dnsSet);

/// \return The strings that both sets have.
NameSet IntersectSets(const NameSet& a, const NameSet& b);

enum class AddressKind { kIpLiteral, kName };

/// Removes all members that aren't of the kind.
void KeepByAddressKind(NameSet& members, AddressKind kind);

/// Chooses the system name for the migration's type and the source's line, into APP_NET_PNID.
/// \return False when there is none: PNID_ERROR tells what and how to mend it, in two lines in the
///         client's language.
bool ChooseSystemName(const SystemNameSources& sources);

/// Puts what the agent's own certificate is to hold into CERT_IP_ADDRESSES and CERT_DNS_NAMES,
/// joined by ",".
void FillCertificateLists(const SystemNameSources& sources);

}  // namespace Halvard::Discovery
