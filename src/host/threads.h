// Threads and modules of this process, for code that has to wait for work done in threads that it
// doesn't own. Failures are logged here.
#pragma once

#include <set>

#include "host/windows_api.h"

namespace Halvard::Host {

/// Ids of threads.
using ThreadSet = std::set<DWORD>;

/// Lists the threads of a process.
/// \param ignored     Threads that don't count.
/// \param[out] found  All others; emptied first.
/// \return False when the system can't list its threads.
bool GetProcessThreads(DWORD processId, const ThreadSet& ignored, ThreadSet& found);

/// Waits for the end of all the threads of a set, which must be of this process.
/// \param threads  1 to 64.
/// \param limit    In milliseconds.
/// \return 0 when all have ended, ERROR_TIMEOUT when the time ran out, ERROR_GEN_FAILURE after any
///         failure. A set whose threads had all ended before is a failure too.
DWORD WaitForChildThreads(const ThreadSet& threads, DWORD limit);

/// \param name  A module's file name without folder, in any case.
/// \return How often this process has loaded the module, as the system counts it: 1 where it has
///         lost count, 0 for one that isn't loaded and after a failure, -1 for a null name.
int GetModuleCount(const wchar_t* name);

}  // namespace Halvard::Host
