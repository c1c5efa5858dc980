#include "runner/preupgrade_phase.h"

#include "core/environment.h"
#include "core/json_files.h"
#include "core/logging.h"
#include "core/property_store.h"
#include "core/temp_directory.h"
#include "runner/export_estimates.h"
#include "runner/preupgrade_output.h"
#include "runner/runner_files.h"
#include "runner/runner_launch.h"

namespace Halvard::Runner {
namespace {

/// The time in which the phase counts as running. A phase that never ended would have every later
/// one refused, so an exception ends it as well.
class PreUpgradePhase {
 public:
  explicit PreUpgradePhase(Json::Value& output) : output_(output) {
    output_ = Json::Value();
    gProperties[L"PREUPGRADE_CHECKS_STATUS"] = L"RUNNING";
    log_.Info(
        L"LaunchUpgradeRunnerPreUpgradePhase: Changed the status of pre-upgrade checks to: %s",
        L"RUNNING");
  }
  PreUpgradePhase(const PreUpgradePhase&) = delete;
  PreUpgradePhase& operator=(const PreUpgradePhase&) = delete;
  ~PreUpgradePhase() {
    gProperties[L"PREUPGRADE_CHECKS_STATUS"] = L"FINISHED";
    log_.Info(
        L"LaunchUpgradeRunnerPreUpgradePhase: Changed the status of pre-upgrade checks to: %ws",
        L"FINISHED");
    gCachedPrecheckResults = output_;
  }

 private:
  LogScope log_;
  Json::Value& output_;
};

/// Reads the runner's output, and removes the file with it.
bool LoadOutput(Json::Value& output) {
  const std::wstring path = GetTempDirectory() + kRequirementsOutputFile;
  const DWORD flags = EnvironmentVariableExists(L"KEEP_UR_JSON_FILES")
                          ? DWORD{FILE_ATTRIBUTE_NORMAL}
                          : DWORD{FILE_FLAG_DELETE_ON_CLOSE};
  if (LoadJsonFromFile(path, output, flags)) return true;
  const DWORD error = GetLastError();
  // What the reader made of it up to the error is of no use to anybody.
  output = Json::Value();
  LogScope log;
  log.Warn(L"LaunchUpgradeRunnerPreUpgradePhase: Failed to load Json from %s file. Error code: %d",
           path.c_str(), error);
  return false;
}

void LogParseFailure(bool estimatesOnly) {
  LogScope log;
  if (estimatesOnly) {
    log.Error(
        L"LaunchUpgradeRunnerPreUpgradePhase: Failed to parse preupgrade output to retrieve export estimates.");
  } else {
    log.Error(L"LaunchUpgradeRunnerPreUpgradePhase: Failed to parse preupgrade output.");
  }
}

/// Takes from the output what a migration of this type needs.
void ParseOutput(const Json::Value& output) {
  const bool estimatesOnly = gProperties[L"MIGRATION_TYPE"] == L"tum";
  try {
    const bool parsed = estimatesOnly ? ParseExportEstimatesFromPreUpgradeOutput(output)
                                      : ParsePreUpgradeOutput(output);
    if (!parsed) LogParseFailure(estimatesOnly);
  } catch (const Json::Exception&) {
    LogParseFailure(estimatesOnly);
    throw;
  }
}

}  // namespace

int LaunchUpgradeRunnerPreUpgradePhase(Json::Value& output) {
  const PreUpgradePhase phase(output);
  const int result = LaunchUpgradeRunnerCommon(RunnerPhaseRequirements);
  // A runner that failed may have written its findings all the same.
  if (LoadOutput(output)) ParseOutput(output);
  return result;
}

}  // namespace Halvard::Runner
