// The operator's credentials: asked for at the console, or taken from the command line.
#pragma once

#include "core/user_input.h"

namespace Halvard {

/// Asks for the administrator's password and, where the Kelvane Server service has an account of
/// its own, for that one's; three tries each. The passwords land in \p input, the account's in
/// KELVD_SA_PASSWORD too.
/// \return False when the tries are used up, which the operator has been told.
bool CollectRequiredUserInput(UserInput& input, const TumInfo& tumInfo);

/// Checks what the command line gave, once, and takes over KELVD_SA_PASSWORD and EXPORT_DIR.
/// \return False when something is missing or wrong, which the operator has been told.
bool ValidateCommandLineInput(const UserInput& input, const TumInfo& tumInfo);

}  // namespace Halvard
