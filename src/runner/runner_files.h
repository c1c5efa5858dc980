// The files by which the agent and the upgrade runner talk, all in the agent's temp directory.
#pragma once

namespace Halvard::Runner {

/// What the runner is to do, with the passwords that it needs. Removed when it has ended.
inline constexpr wchar_t kInputFile[] = L"UpgradeRunnerInput.json";

/// What the runner writes for RunnerPhaseRequirements.
inline constexpr wchar_t kRequirementsOutputFile[] = L"UpgradeRunnerPreupgradeOutput.json";

/// What the runner writes for RunnerPhaseExport: how far it is, what it asks, and how it ended.
inline constexpr wchar_t kExportOutputFile[] = L"UpgradeRunnerExportOutput.json";

/// The folder of the runner's logs.
inline constexpr wchar_t kLogFolder[] = L"kvsMigration";

}  // namespace Halvard::Runner
