// Proof of the Single Sign-On administrator's credentials against the directory service.
#pragma once

#include <string>

namespace Halvard::Security {

/// \param account  "Administrator@ostrel.local"
/// \param dn       "cn=Administrator,cn=Users,dc=ostrel,dc=local". Nothing is escaped: a name with
///                 a special character becomes another name. Set only on success.
/// \return False for anything but a name and a domain of two labels or more, which is logged.
bool ConvertSsoUsernameToLdapDn(const std::wstring& account, std::wstring& dn);

/// Binds to the directory service of this machine.
/// \param user         "name@domain".
/// \param isVersion55  The directory is that of Single Sign-On 5.5, which has a port of its own.
///                     The other port isn't tried.
/// \return True when the bind worked. With an empty password it never counts: servers that allow it
///         take that for an anonymous bind and check nothing. Failures are logged. Blocks for the
///         network.
bool ValidateLocalSSOCredentials(const std::wstring& user, const std::wstring& password,
                                 bool isVersion55);

}  // namespace Halvard::Security
