// The one HTTPS server of the process: who holds it, who stops it, who waits for it.
#pragma once

#include <memory>

#include "host/windows_api.h"

namespace pion::tcp {
class server;
}  // namespace pion::tcp

namespace Halvard {

/// Takes over the server. Called once, when it has been created.
void SetServer(std::unique_ptr<pion::tcp::server> server);

/// \return True from SetServer to DestroyServer.
bool ServerExists();

/// Stops the server without waiting for its connections; nothing without one. Any thread may call
/// it, several at once. Returns when running requests have let go.
void StopServer();

/// Waits until the server has been stopped. Only for the thread that destroys it.
void JoinServer();

/// Destroys the server, once nobody is stopping it any more.
void DestroyServer();

/// Has the server stopped a second from now, so that the reply to the request behind it still gets
/// out. \return False, with a warning in the log, when the thread for that couldn't start.
bool CreateChildThreadToShutdownHV();

/// Body of that thread: waits 1,000 ms and stops the server.
DWORD WINAPI WaitAndShutdownHV(LPVOID unused);

}  // namespace Halvard
