// What the agent takes from the output of the upgrade runner's requirements phase: an array with an
// object for each component that the runner has looked at.
//
// Here and wherever the output is read, members that are absent or null count as empty or zero, and
// simple values are converted where jsoncpp can. What it can't convert throws its exception: an
// element that is no object, a number that is a text, a list in the place of a text.
#pragma once

#include <json/value.h>

namespace Halvard::Runner {

/// Takes estimates, database type, infrastructure node and system name from the output into the
/// properties. What the output lacks keeps its old value.
/// \return False when the output is no array, or when no system name could be chosen: PNID_ERROR
///         says why then. Logged here.
/// \throws Json::Exception as said above.
bool ParsePreUpgradeOutput(const Json::Value& output);

}  // namespace Halvard::Runner
