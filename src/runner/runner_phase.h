// What the upgrade runner is asked for.
#pragma once

namespace Halvard::Runner {

enum RunnerPhase : int {
  RunnerPhaseRequirements = 1911,
  RunnerPhaseExport = 1912,
};

}  // namespace Halvard::Runner
