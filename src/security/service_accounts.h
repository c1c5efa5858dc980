// The account under which the Kelvane Server service runs.
#pragma once

#include <string>

#include "host/unique_resource.h"

namespace Halvard::Security {

/// Logs on as a service.
/// \param accountName  Alone, or with its domain in any of the system's forms but ".\name".
/// \return Null after a failure, which is logged. Blocks for 20 seconds when the name can't be
///         found: a domain may take a while to answer after the start of the machine.
Host::UniqueHandle RetrieveServiceAccountToken(const std::wstring& accountName,
                                               const std::wstring& password);

/// \param user  As the service manager names it, ".\name" included.
/// \return True when the account may be used: the password is right, the account may log on as a
///         service and is an administrator of this machine. Failures are logged. Blocks as
///         RetrieveServiceAccountToken() does.
bool ValidateServiceAccountCredentials(const std::wstring& user, const std::wstring& password);

/// Stores the account of the Kelvane Server service in KELVD_SA_USER, as the service manager names
/// it; empty for the default account, which has no password.
/// \return True when the property is settled. Failures are logged.
bool RetrieveKelvdServiceAccountUser();

}  // namespace Halvard::Security
