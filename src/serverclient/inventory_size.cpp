#include "serverclient/inventory_size.h"

#include "core/logging.h"
#include "serverclient/connection.h"
#include "serverclient/destination.h"
#include "serverclient/inventory_walks.h"

namespace Halvard::ServerClient {
namespace {

using Zelmo::Core::PropertyCollector;

/// Small replies, whatever the inventory's size.
constexpr std::int32_t kPageSize = 1000;

/// Retrieves page by page and only counts what is on them.
/// \param logTotal  Logs the total so far.
template <typename LogTotal>
std::int32_t CountObjects(const PropertyCollector& collector,
                          const PropertyCollector::FilterSpec& filter, LogTotal logTotal) {
  PropertyCollector::RetrieveOptions options;
  options.maxObjects = kPageSize;
  std::int32_t count = 0;
  auto page = collector.RetrieveProperties({filter}, options);
  while (page != nullptr) {
    count += static_cast<std::int32_t>(page->objects.size());
    logTotal(count);
    if (!page->token) break;
    page = collector.ContinueRetrieveProperties(*page->token);
  }
  return count;
}

}  // namespace

std::int32_t GetNumHosts(const KelvaneConnection& connection) {
  LogScope log;
  const InventoryStubs stubs(connection);
  return CountObjects(*stubs.collector, HostWalk(*stubs.rootFolder), [&](std::int32_t count) {
    log.Info(L"GetNumHosts: Aggregated host count: %d", count);
  });
}

std::int32_t GetNumVMs(const KelvaneConnection& connection) {
  LogScope log;
  const InventoryStubs stubs(connection);
  return CountObjects(*stubs.collector, MachineWalk(*stubs.rootFolder), [&](std::int32_t count) {
    log.Info(L"GetNumVMs: Aggregated vm count: %d", count);
  });
}

bool GetInventorySize(const std::string& host, std::int32_t port, const std::string& tunnelPath,
                      const std::string& thumbprint, const std::string& user,
                      const std::string& password, std::int32_t& hosts, std::int32_t& machines) {
  LogScope log;
  hosts = 0;
  machines = 0;
  const Destination destination(host, port, tunnelPath, user);
  try {
    KelvaneConnection connection;
    ConnectToKelvane(host, port, tunnelPath, thumbprint, connection);
    const auto sessions = LogIn(connection, user, password);
    hosts = GetNumHosts(connection);
    machines = GetNumVMs(connection);
    sessions->Logout();
    log.Info(L"GetInventorySize: Inventory size retrieved. Hosts:%u, VMs:%u", hosts, machines);
    return true;
  } catch (const Tunrak::Exception& failure) {
    destination.LogFailure(
        failure, L"GetInventorySize: %s",
        L"GetInventorySize: Failed to get the KV inventory size. Host:%s, Port:%d, TunnelPath:%s, User:%s.");
    return false;
  }
}

}  // namespace Halvard::ServerClient
