// Watching a started child and the status file that it writes.
#pragma once

#include "host/windows_api.h"

namespace Halvard::Runner {

/// What a callback makes of a status file. Any further value means failure as well.
enum ParseResult : int {
  ParseContinue = 291,      ///< No final status yet; keep watching.
  ParseDisable = 292,       ///< Don't call again; wait for the process alone.
  ParseFinalSuccess = 293,  ///< Final status: success.
  ParseFinalFailure = 294,  ///< Final status: failure.
};

/// Called on the monitoring thread when the status file may have changed, and once more after the
/// child's end. The file may be missing, or be open in the child at the moment.
using StatusParseCallback = int (*)(void* context, const wchar_t* statusFilePath);

/// Resumes a suspended child and waits for its end; never for less. The handles stay the caller's.
/// \param job             The job that the child is in, without limits.
/// \param thread          The child's main thread, suspended.
/// \param statusFilePath  Null, or a path with at least one backslash in a folder that exists.
/// \param parseCallback   Null, or what judges the file. Without a file it is never called, and the
///                        outcome is failure.
/// \return What the callback said in the end; without a callback whether the exit code was 0.
///         Failures are logged.
bool MonitorStatusFile(HANDLE job, HANDLE process, HANDLE thread, const wchar_t* statusFilePath,
                       StatusParseCallback parseCallback, void* callbackContext);

}  // namespace Halvard::Runner
