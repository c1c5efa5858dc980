// The port of an infrastructure node's reverse proxy.
#pragma once

#include <cstdint>
#include <string>

namespace Halvard::ServerClient {

/// Asks the lookup service beside a Secure Token Service of the older line for the port under which
/// clients reach that service. The peer's certificate goes unchecked, and so do those of every
/// later connection of the process.
/// \param host           UTF-8.
/// \param legacyStsPort  The Secure Token Service's own port.
/// \param port           Assigned on success only.
/// \return True on success. Failures are logged. Blocks for the network.
bool RetrieveReverseProxyPortThroughLegacySTSPort(const std::string& host,
                                                  std::int32_t legacyStsPort, std::int32_t& port);

}  // namespace Halvard::ServerClient
