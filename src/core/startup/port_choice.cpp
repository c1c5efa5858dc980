#include "core/startup/port_choice.h"

#include <cstddef>
#include <memory>
#include <new>
#include <optional>
#include <set>
#include <string>

#include "core/logging.h"
#include "core/property_store.h"
#include "core/start_failure.h"
#include "host/windows_api.h"

namespace Halvard {
namespace {

constexpr std::uint32_t kDefaultPort = 9123;
constexpr std::uint32_t kLowestPort = 1;
constexpr std::uint32_t kHighestPort = 65535;

/// Adds the local ports of one of the system's tables, sorted. A table that can't be had adds none.
/// \param getTable  GetTcpTable or GetUdpTable.
template <typename Table, typename GetTable>
void AddPortsOfTable(GetTable getTable, std::set<std::uint32_t>& ports) {
  ULONG size = 0;
  if (getTable(nullptr, &size, TRUE) != ERROR_INSUFFICIENT_BUFFER) return;
  const std::unique_ptr<std::byte[]> buffer(new (std::nothrow) std::byte[size]);
  if (buffer == nullptr) return;
  auto* table = reinterpret_cast<Table*>(buffer.get());
  if (getTable(table, &size, TRUE) != NO_ERROR) return;
  for (DWORD row = 0; row < table->dwNumEntries; ++row) {
    // Network order in the lower half; the upper half may hold anything.
    ports.insert(ntohs(static_cast<u_short>(table->table[row].dwLocalPort)));
  }
}

std::set<std::uint32_t> TakeSnapshotOfPorts() {
  std::set<std::uint32_t> ports;
  AddPortsOfTable<MIB_TCPTABLE>(GetTcpTable, ports);
  AddPortsOfTable<MIB_UDPTABLE>(GetUdpTable, ports);
  return ports;
}

/// From the default port on, and round again from the first. Ends only at a free port.
std::uint32_t FirstFreePort() {
  LogScope log;
  std::uint32_t port = kDefaultPort;
  while (IsPortInUse(port, false)) {
    log.Info(L"PickHVPort: Port %u is already in use.", port);
    port = port == kHighestPort ? kLowestPort : port + 1;
  }
  return port;
}

bool IsGivenPortUsable(std::uint32_t port) {
  LogScope log;
  log.Info(L"PickHVPort: Checking if port %u is in legal range [%d,%d]", port, kLowestPort,
           kHighestPort);
  if (port < kLowestPort || port > kHighestPort) {
    log.Error(L"PickHVPort: Port %u is not in legal range [%d,%d]", port, kLowestPort,
              kHighestPort);
    (void)ShowAndStoreError(1145, {std::to_wstring(port)});
    return false;
  }
  log.Info(L"PickHVPort: Checking if port %u is in use", port);
  if (IsPortInUse(port, false)) {
    log.Error(L"PickHVPort: Port %u is already in use.", port);
    (void)ShowAndStoreError(1146, {std::to_wstring(port)});
    return false;
  }
  log.Info(L"PickHVPort: Halvard will listen on passed port: %u.", port);
  return true;
}

}  // namespace

bool PickHVPort(UserInput& input) {
  LogScope log;
  if (!input.hvPortGiven) {
    input.hvPort = FirstFreePort();
  } else if (!IsGivenPortUsable(input.hvPort)) {
    return false;
  }
  gProperties[L"HV_PORT"] = std::to_wstring(input.hvPort);
  return true;
}

bool IsPortInUse(std::uint32_t port, bool refresh) {
  // One snapshot serves a whole search; the main thread alone asks.
  static std::optional<std::set<std::uint32_t>> ports;
  if (!ports || refresh) ports = TakeSnapshotOfPorts();
  return ports->contains(port);
}

}  // namespace Halvard
