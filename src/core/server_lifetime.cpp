#include "core/server_lifetime.h"

#include <mutex>
#include <shared_mutex>
#include <utility>

#include "core/logging.h"
#include "pion/tcp/server.h"

namespace Halvard {
namespace {

constexpr DWORD kShutdownDelayMilliseconds = 1000;

// Stopping is shared, setting and destroying are exclusive: a control handler may still be inside
// stop when the main thread has already come back from join.
std::shared_mutex gServerMutex;
std::unique_ptr<pion::tcp::server> gServer;

}  // namespace

void SetServer(std::unique_ptr<pion::tcp::server> server) {
  const std::unique_lock lock(gServerMutex);
  gServer = std::move(server);
}

bool ServerExists() {
  const std::shared_lock lock(gServerMutex);
  return gServer != nullptr;
}

void StopServer() {
  const std::shared_lock lock(gServerMutex);
  if (gServer != nullptr) gServer->stop(false);
}

void JoinServer() {
  // Without the lock, or nobody could stop what is waited for. The pointer can't change meanwhile:
  // the thread that waits here is the one that destroys.
  if (ServerExists()) gServer->join();
}

void DestroyServer() {
  const std::unique_lock lock(gServerMutex);
  gServer.reset();
}

bool CreateChildThreadToShutdownHV() {
  LogScope log;
  SECURITY_ATTRIBUTES inheritable{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
  // Nobody waits for the thread: the end of the process may well overtake its last steps.
  if (CreateThread(&inheritable, 0, WaitAndShutdownHV, nullptr, 0, nullptr) != nullptr) return true;
  const DWORD error = GetLastError();
  log.Warn(
      L"CreateChildThreadToShutdownHV: Failed to create thread to initiate halvard shutdown. Error code: %d",
      error);
  return false;
}

DWORD WINAPI WaitAndShutdownHV(LPVOID /*unused*/) {
  LogScope log;
  log.Info(L"WaitAndShutdownHV: Waiting for %d milli seconds before shutting down halvard.",
           kShutdownDelayMilliseconds);
  Sleep(kShutdownDelayMilliseconds);
  StopServer();
  return 0;
}

}  // namespace Halvard
