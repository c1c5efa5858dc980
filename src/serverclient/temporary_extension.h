// The agent's entry in a Kelvane Server, by which an appliance's installer finds an agent that runs
// on another machine.
#pragma once

#include <cstdint>
#include <string>

namespace Halvard::ServerClient {

/// Registers the agent, or takes over the entry that a former run has left. All texts in UTF-8.
/// \param host,port,tunnelPath,thumbprint,user,password  The Kelvane Server's, as for a connection.
/// \param agentHost        The agent's host name; the entry is known by it.
/// \param agentPort        The port of the agent's API.
/// \param agentThumbprint  Of the agent's certificate.
/// \return True on success. Failures are logged. Blocks for the network.
bool RegisterUpdateHVExtension(const std::string& host, std::int32_t port,
                               const std::string& tunnelPath, const std::string& thumbprint,
                               const std::string& user, const std::string& password,
                               const std::string& agentHost, const std::string& agentPort,
                               const std::string& agentThumbprint);

/// Takes the agent's entry away.
/// \return True on success, also if there is no such entry. Failures are logged. Blocks for the
///         network.
bool UnregisterHVExtension(const std::string& host, std::int32_t port,
                           const std::string& tunnelPath, const std::string& thumbprint,
                           const std::string& user, const std::string& password,
                           const std::string& agentHost);

}  // namespace Halvard::ServerClient
