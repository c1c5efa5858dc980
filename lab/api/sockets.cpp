#include <cstring>

#include "machine/call.h"
#include "machine/machine.h"
#include "winsock2.h"

int WINAPI WSAStartup(WORD version, LPWSADATA data) {
  const Lab::Call call("WSAStartup");
  if (const auto error = call.PlannedError()) return static_cast<int>(*error);
  constexpr WORD kVersion = 0x0202;
  LAB_SUPPORTS(version == kVersion);
  LAB_SUPPORTS(data != nullptr);
  *data = {};
  data->wVersion = kVersion;
  data->wHighVersion = kVersion;
  std::strcpy(data->szDescription, "WinSock 2.0");
  std::strcpy(data->szSystemStatus, "Running");
  ++Lab::TheMachine().SocketStartups();
  return 0;
}

int WINAPI WSACleanup() {
  const Lab::Call call("WSACleanup");
  if (call.FailsByPlan()) return SOCKET_ERROR;
  std::atomic<int>& startups = Lab::TheMachine().SocketStartups();
  for (int count = startups; count > 0;) {
    if (startups.compare_exchange_weak(count, count - 1)) return 0;
  }
  SetLastError(WSANOTINITIALISED);
  return SOCKET_ERROR;
}
