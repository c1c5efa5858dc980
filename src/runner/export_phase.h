// The export of data and configuration by the upgrade runner: its thread, what the rest of the
// agent sees of it, and what follows a failed one.
#pragma once

#include "host/windows_api.h"

namespace Halvard::Runner {

/// Sets EXPORT_STATUS to RUNNING and starts the export on a thread of its own.
/// \param wait  Blocks until the export has ended, however long that takes; how it ended stands in
///              EXPORT_RESULT.
/// \return 0, or kRunnerFailure (1603) when the thread couldn't be started or waited for, which is
///         logged. After a failed start EXPORT_STATUS stays RUNNING and nothing moves it again.
int LaunchUpgradeRunnerExportPhase(bool wait);

/// Body of that thread: runs the export to its end and then moves EXPORT_STATUS to FINISHED, in one
/// step with EXPORT_RESULT (core/export_state.h). The result is only written when the runner's exit
/// code and its output file agree; a failed export has the stopped services started again.
/// \return The runner's code, 0 or kRunnerFailure.
DWORD WINAPI LaunchUpgradeRunnerExport(LPVOID unused);

/// Body of the thread that starts the product's services again: in the older line those of
/// MIGRATION_TYPE, one after the other until one fails; otherwise all, by the product's own script.
/// \return 0.
DWORD WINAPI RestartServicesAfterFailedExport(LPVOID unused);

}  // namespace Halvard::Runner
