// Proof of the Single Sign-On administrator's credentials against the directory service.
#pragma once

#include <string>

namespace Halvard::Security {

/// Binds to the directory service of this machine.
/// \param user         "name@domain".
/// \param isVersion55  The directory is that of Single Sign-On 5.5, which has a port of its own.
/// \return True when the bind worked. Failures are logged. Blocks for the network.
bool ValidateLocalSSOCredentials(const std::wstring& user, const std::wstring& password,
                                 bool isVersion55);

}  // namespace Halvard::Security
