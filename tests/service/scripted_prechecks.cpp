// A requirements phase that a test decides, without a runner.
#include "core/property_store.h"
#include "runner/preupgrade_phase.h"
#include "scripted_operations.h"

namespace Halvard {

using Testing::TheSurroundings;

int Runner::LaunchUpgradeRunnerPreUpgradePhase(Json::Value& output) {
  Testing::Surroundings& surroundings = TheSurroundings();
  gProperties[L"PREUPGRADE_CHECKS_STATUS"] = L"RUNNING";
  if (surroundings.duringPrechecks) surroundings.duringPrechecks();
  output = surroundings.precheckOutput;
  gProperties[L"PREUPGRADE_CHECKS_STATUS"] = L"FINISHED";
  gCachedPrecheckResults = output;
  return surroundings.precheckCode;
}

}  // namespace Halvard
