// Proof of an administrator's credentials against a running Kelvane Server.
#pragma once

#include <cstdint>
#include <string>

namespace Halvard::ServerClient {

/// Logs in to the Kelvane Server and out again. All texts in UTF-8.
/// \param tunnelPath  Path through the HTTP reverse proxy, or empty for a direct connection.
/// \param thumbprint  The certificate to expect, or empty for any.
/// \return True when login and logout went through. Failures are logged. Blocks for the network.
bool ValidateKvAdminCredentials(const std::string& host, std::int32_t port,
                                const std::string& tunnelPath, const std::string& thumbprint,
                                const std::string& user, const std::string& password);

}  // namespace Halvard::ServerClient
