// Start of the libraries under the Kelvane Server client.
#pragma once

namespace Halvard::ServerClient {

/// Initialises the libraries. Once per process, on the start-up thread, before any other operation
/// of the client.
/// \throws Tunrak::Exception  when called again.
void InitTunrakCore();

}  // namespace Halvard::ServerClient
