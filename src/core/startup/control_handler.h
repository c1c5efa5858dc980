// What Ctrl+C, Ctrl+Break and the closing of the console do.
#pragma once

#include "host/windows_api.h"

namespace Halvard {

/// Stops the server, if there is one, and lets the main thread wind the process down. Without a
/// server, Ctrl+C and Ctrl+Break do nothing. The system calls this on a thread of its own.
/// \return TRUE for the events that are dealt with here.
///
/// After the console was closed it blocks for ten seconds: the system ends the process as soon as
/// the handler returns, and at the latest after its own limit of about five seconds, which is all
/// the time that the winding down has.
BOOL WINAPI CtrlHandler(DWORD ctrlType);

}  // namespace Halvard
