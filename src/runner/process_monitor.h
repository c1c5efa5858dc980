// Child processes of the agent: started hidden and suspended in a job of their own, watched to
// their end.
#pragma once

#include "runner/status_file_monitor.h"

namespace Halvard::Runner {

/// Runs a command line to the child's end and tells whether the child has succeeded. Blocks for as
/// long as the child takes; there is no time-out. When it returns, whatever the child left behind
/// has been ended. All steps and failures are logged.
///
/// The child runs in the folder of its program, without a visible window, with the user's default
/// environment in place of this process's, and inherits no handle.
/// \param commandLine      Begins with the program's path, in quotes if it holds blanks.
/// \param statusFilePath   A file that the child rewrites while it runs; null for none. An old one
///                         is deleted first.
/// \param parseCallback    Judges the status file; null for none. Runs on this thread.
/// \param callbackContext  Handed to the callback.
/// \return With file and callback what the callback said in the end, with neither whether the exit
///         code was 0. False too when the child couldn't be started or watched.
bool LaunchProcAndMonitorStatus(const wchar_t* commandLine, const wchar_t* statusFilePath,
                                StatusParseCallback parseCallback, void* callbackContext);

/// The same without a status file: success is an exit code of 0.
bool LaunchProcAndMonitorStatus(const wchar_t* commandLine);

}  // namespace Halvard::Runner
