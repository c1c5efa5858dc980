// The requirements phase of the upgrade runner.
#pragma once

#include <json/value.h>

#include "runner/cached_precheck_results.h"

namespace Halvard::Runner {

/// Runs the requirements phase, blocking as long as the runner does, and takes from its output what
/// the migration needs. PREUPGRADE_CHECKS_STATUS tells of it, and gCachedPrecheckResults holds the
/// output afterwards, also when this throws. The output file is removed unless the environment
/// variable KEEP_UR_JSON_FILES exists.
/// \param[out] output  The runner's output as it stands, read whether or not the runner succeeded;
///                     null when there is none that can be read.
/// \return 0, or kRunnerFailure when the runner failed. An output that couldn't be used is logged
///         and leaves APP_NET_PNID and PNID_ERROR as ParsePreUpgradeOutput does.
/// \throws Json::Exception as ParsePreUpgradeOutput does.
int LaunchUpgradeRunnerPreUpgradePhase(Json::Value& output);

}  // namespace Halvard::Runner
