// What the upgrade runner is asked for.
#pragma once

namespace Halvard::Runner {

enum RunnerPhase : int {
  RunnerPhaseRequirements = 1911,
  RunnerPhaseExport = 1912,
};

/// What the runner writes for RunnerPhaseRequirements, in the temp directory.
inline constexpr wchar_t kRequirementsOutputFile[] = L"UpgradeRunnerPreupgradeOutput.json";

}  // namespace Halvard::Runner
