// Running the upgrade runner, an external program, for one of its phases.
#pragma once

#include "runner/runner_phase.h"

namespace Halvard::Runner {

/// The one failure code of this layer.
inline constexpr int kRunnerFailure = 1603;

/// Writes the runner's input file, runs the runner to its end and removes the input file again, on
/// all paths; it stays when the environment variable KEEP_UR_JSON_FILES exists. What the runner has
/// to say lies in the output file of the phase afterwards, also after a failure. Two calls at a
/// time would share the files' names.
/// \return 0, or kRunnerFailure after logging why.
int LaunchUpgradeRunnerCommon(RunnerPhase phase);

}  // namespace Halvard::Runner
