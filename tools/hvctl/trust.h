// Decides whether an agent's certificate is the right one.
#pragma once

#include <optional>
#include <string>

#include "agent_connection.h"
#include "known_agents.h"

namespace Hvctl {

/// \param expected     The thumbprint that the caller gave; it alone decides then.
/// \param known        Agents that were confirmed before; extended by a new confirmation.
/// \param interactive  Whether a person can be asked.
/// \return A check that throws Failure (kNotTrusted) for any certificate that isn't trusted.
AgentConnection::TrustCheck MakeTrustCheck(const Endpoint& agent,
                                           const std::optional<std::string>& expected,
                                           const KnownAgents& known, bool interactive);

}  // namespace Hvctl
