// What the agent's entry in a Kelvane Server says.
#pragma once

#include <string>

#include "quen/extension.h"

namespace Halvard::ServerClient {

/// \return The key of the agent on this host.
std::string ExtensionKey(const std::string& agentHost);

/// How the agent is reached.
struct AgentAddress {
  std::string host;
  std::string port;
  std::string thumbprint;
};

/// \return A new record.
Quen::Extension MakeExtension(const std::string& key, const AgentAddress& agent,
                              Tunrak::System::DateTime now);

/// Makes a record that was found say what a new one says. Its time stamp stays, and so do entries
/// of servers behind the first.
void UpdateExtension(Quen::Extension& extension, const AgentAddress& agent);

}  // namespace Halvard::ServerClient
