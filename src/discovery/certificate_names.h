// Which names a certificate covers, and which of them the appliance can take over.
#pragma once

#include <set>
#include <string>

namespace Halvard::Discovery {

/// Ordered by code units, which is what decides between several that would do.
using NameSet = std::set<std::wstring>;

enum class AddressKind { kIpLiteral, kName };

/// Removes all members that aren't of the kind.
void KeepByAddressKind(NameSet& members, AddressKind kind);

/// \return The strings that both sets have.
NameSet IntersectSets(const NameSet& a, const NameSet& b);

/// Tells whether the name stands for several.
bool HasWildcard(const std::wstring& dnsName);

/// \param address  An address fits no name, whatever the name is.
/// \param dnsName  A name of a certificate: "*" for all without a dot, or with a leading "*" for
///                 one whole label. Compared without regard to the case of A to Z. Each answer is
///                 logged.
bool IsAddrCompatibleWithCertDnsName(const std::wstring& address, const std::wstring& dnsName);

/// Tells whether a certificate covers \p address. An address has to be in it in the same spelling.
bool IsAddrCompatibleWithCert(const std::wstring& address, const NameSet& ipSet,
                              const NameSet& dnsSet);

/// Chooses the system name for a source with one certificate: \p pnid if it will do, else a name of
/// the certificate, else an address of it. A name with a wildcard is never chosen.
/// \return Empty, with an error in the log, when nothing will do.
std::wstring SelectAppNetPnid(const std::wstring& pnid, const NameSet& ipSet,
                              const NameSet& dnsSet);

}  // namespace Halvard::Discovery
