// What the two precheck operations answer: the source as the agent knows it, and the runner's
// findings.
#pragma once

#include <json/json.h>

namespace Halvard::MigratorSvc {

/// Fills the reply with `sourceInfo`, asked for afresh at every call, and `componentRequirements`,
/// the runner's document as it stands. Blocks for the network, and for the runner.
/// \param request    Names the client's language, and the administrator whose login counts the
///                   inventory.
/// \param reply      After a failure it has `result` and `error` alone; the operator has been told.
/// \param useCached  Takes the findings of the last run instead of starting the runner. The
///                   inventory is counted all the same.
/// \return True on success.
/// \throws Json::Exception when the runner's document has a member of the wrong type, or the
///         request one that has no text.
bool RetrievePreCheckResults(const Json::Value& request, Json::Value& reply, bool useCached);

}  // namespace Halvard::MigratorSvc
