// Choosing the system name that the appliance takes over: one that fits the source's certificates
// and that this machine can keep.
#pragma once

#include <string>

#include "discovery/certificate_names.h"

namespace Halvard::Discovery {

/// What one component of the source tells of its name and of its certificate.
struct ComponentIdentity {
  /// Its current system name, a name or an address.
  std::wstring pnid;
  /// IP literals alone.
  NameSet certIps;
  /// No IP literal among them; wildcards are.
  NameSet certDnsNames;
};

/// What the choice is made from.
struct SystemNameSources {
  ComponentIdentity kv;
  ComponentIdentity sso;
  /// Known of a source by the platform installer alone.
  ComponentIdentity afd;
};

/// Chooses the system name for the migration's type and the source's line, into APP_NET_PNID. An
/// update manager has none, and nothing is done. Asks the resolver and DNS servers, and blocks as
/// long as they do.
/// \return False when there is none: PNID_ERROR tells what and how to mend it, in two lines in the
///         client's language.
bool ChooseSystemName(const SystemNameSources& sources);

/// Puts what the agent's own certificate is to hold into CERT_IP_ADDRESSES and CERT_DNS_NAMES,
/// joined by ",": what the source's certificates hold, of the older line only what this machine can
/// keep. Addresses from DHCP will do here.
void FillCertificateLists(const SystemNameSources& sources);

}  // namespace Halvard::Discovery
