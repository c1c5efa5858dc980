// The agent's entry in the Kelvane Server of an update manager, which lies on another machine.
#pragma once

#include "core/startup/session.h"

namespace Halvard {

/// Registers the agent, whose server runs. Only update managers need it; nothing else is done.
/// \return False after a failure, which has been reported; the server is gone then.
bool RegisterAgent(const Session& session);

/// Takes the entry away, when the server has stopped. A failure is shown and logged, no more.
void UnregisterAgent(const Session& session);

}  // namespace Halvard
