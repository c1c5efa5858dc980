// The input file of the upgrade runner.
#pragma once

#include <string>

#include "runner/runner_phase.h"

namespace Halvard::Runner {

/// Writes the runner's input file, which holds passwords and admits only administrators.
/// \param directory  With a trailing backslash.
/// \return The file's path; empty after a failure, which is logged. Each export phase appends
///         "export" to the property EXPORT_DIR.
std::wstring CreateUpgradeRunnerInputFile(const std::wstring& directory, RunnerPhase phase);

}  // namespace Halvard::Runner
