// The requirements phase of the upgrade runner, and what the agent takes from its output: an array
// with an object for each component that the runner has looked at.
//
// Members that are absent or null count as empty or zero, and simple values are converted where
// jsoncpp can. On what it can't convert the functions throw its exception: an element that is no
// object, a number that is a text, a list in the place of a text.
#pragma once

#include <json/value.h>

#include <string>

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
/// \throws Json::Exception as said above.
int LaunchUpgradeRunnerPreUpgradePhase(Json::Value& output);

/// Takes estimates, database type, infrastructure node and system name from the output into the
/// properties. What the output lacks keeps its old value.
/// \return False when the output is no array, or when no system name could be chosen: PNID_ERROR
///         says why then. Logged here.
bool ParsePreUpgradeOutput(const Json::Value& output);

/// Adds up what the components need into EXPORT_DATA_SIZE and EXPORT_DISK_REQ_SIZE (MB),
/// EXPORT_TIME_ESTIMATE and IMPORT_TIME_ESTIMATE (minutes), in decimal text.
/// \return False when the output is no array. Logged here.
bool ParseExportEstimatesFromPreUpgradeOutput(const Json::Value& output);

/// Puts the findings of all components into two texts for the operator, in the operator's language.
/// \param[out] errors    One after the other, an empty line in between; empty without any.
/// \param[out] warnings  The same for all that isn't an error.
void ParseErrorsWarningsFromPreUpgradeOutput(const Json::Value& output, std::wstring& errors,
                                             std::wstring& warnings);

}  // namespace Halvard::Runner
