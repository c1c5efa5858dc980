// The account under which the Kelvane Server service runs.
#pragma once

#include <string>

namespace Halvard::Security {

/// \return True when the account may be used: the password is right, the account may log on as a
///         service and is an administrator of this machine. Failures are logged.
bool ValidateServiceAccountCredentials(const std::wstring& user, const std::wstring& password);

}  // namespace Halvard::Security
