// How far the export has come and how it ended: EXPORT_STATUS and EXPORT_RESULT as one fact.
#pragma once

#include <mutex>
#include <string>

namespace Halvard {

struct ExportState {
  std::wstring status;  ///< NOT_STARTED, RUNNING or FINISHED.
  std::wstring result;  ///< SUCCESS or FAIL.
};

/// Holds off readers of both. Whoever ends an export takes it for the time from its writing of
/// EXPORT_STATUS to its writing of EXPORT_RESULT: a client that saw the new status with the result
/// of the run before would be taken for one after a failed export.
[[nodiscard]] std::unique_lock<std::mutex> LockExportState();

/// \return Both properties, as they were together at one moment.
ExportState ReadExportState();

}  // namespace Halvard
