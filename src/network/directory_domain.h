// The directory domain that the machine belongs to.
#pragma once

#include <string>

namespace Halvard::Network {

/// All empty for a machine outside any domain.
struct ActiveDirectoryConfig {
  /// The domain's DNS name.
  std::wstring domainName;
  /// A controller of the domain, as the system names it: with two backslashes in front.
  std::wstring dcName;
  /// Its address, likewise.
  std::wstring dcAddress;
  /// The controller's addresses as its name resolves, joined by ",", without loopback. Empty when
  /// it doesn't resolve.
  std::wstring dcIpv4Addresses;
  std::wstring dcIpv6Addresses;
};

/// Asks the system for the machine's domain and a controller of it, which may take a while. Sets
/// AD_NAME to the domain's name when there is one.
/// \param[out] config  Filled on success; a machine outside any domain is a success. A member of
///                     which no controller can be reached looks just like it on most systems.
/// \return False when the system couldn't tell. Logged here either way.
bool GetActiveDirectoryConfig(ActiveDirectoryConfig& config);

}  // namespace Halvard::Network
