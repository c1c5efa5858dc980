// Ending the machine that the agent runs on.
#pragma once

#include <string>

#include "host/windows_api.h"

namespace Halvard::Host {

/// Has this machine shut down in two seconds, other users' programs closed by force.
/// \param message  What whoever is logged on gets to read.
/// \return The system's code; 0 when the shutdown has begun. Nothing is logged here.
DWORD ShutDownThisMachine(const std::wstring& message);

}  // namespace Halvard::Host
