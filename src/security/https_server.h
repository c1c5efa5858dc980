// The server of the agent's API.
#pragma once

#include <cstdint>

#include "pion/scheduler.h"

namespace Halvard::Security {

/// Creates the HTTPS server with the certificate of this run, hangs the API on "/api" and starts
/// listening on all addresses of one family: the one of the address that migrates. The server is
/// held by core/server_lifetime from then on.
///
/// \param scheduler  Gets one thread, which serves all requests. Has to outlive the server.
/// \param port       1 to 65,535.
/// \return False when the family can't be told; the operator has been told so, and the English text
///         is in HV_INIT_ERROR.
/// \throws boost::system::system_error when the certificate can't be read or the port not be had.
bool SetupAndStartHttpsServer(pion::single_service_scheduler& scheduler, std::uint32_t port);

}  // namespace Halvard::Security
