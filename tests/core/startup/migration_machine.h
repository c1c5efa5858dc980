// A machine of each kind with the servers around it, on which the agent as it is built gets from
// its first prompt to its server.
#pragma once

#include <unistd.h>

#include <optional>
#include <string>

#include "process_test.h"
#include "support/kelvane_server.h"
#include "support/slapd.h"

namespace Halvard {

/// Of a described machine "TYPE-LINE": a Kelvane Server where the type has one, and a directory,
/// its own or that of the node elsewhere.
class MigrationMachine : public Lab::Instance {
 public:
  /// \param password  Of Administrator@ostrel.local.
  MigrationMachine(const std::string& machine, const std::string& password)
      : Lab::Instance(machine) {
    // The client is beside the agent, at the host's loopback.
    Set("/adapters/0/ipv6", false);
    TakePorts();
    const bool isInfrastructure = machine.starts_with("infrastructure");
    if (!isInfrastructure) PlaceServer(password);
    if (machine.starts_with("embedded")) return;
    const bool isOlder = machine.ends_with("5.5");
    Lab::Slapd::Settings settings{.users = {{"Administrator", password}}};
    if (isInfrastructure && isOlder) settings.version = std::nullopt;
    directory_.emplace(settings);
    Lab::PlaceDirectory(*this, *directory_, isInfrastructure ? "localhost" : "sso.corp.example",
                        isInfrastructure && isOlder ? 11712 : 636);
  }

  static bool NeedsDirectory(const std::string& machine) {
    return !machine.starts_with("embedded");
  }

 private:
  /// Has the agent's search for a port begin elsewhere than in other runs of the host.
  void TakePorts() {
    constexpr int kDefaultPort = 9123;
    constexpr int kRuns = 256;
    Json::Value ports(Json::objectValue);
    for (int i = 0; i <= getpid() % kRuns; ++i) {
      ports["0.0.0.0:" + std::to_string(kDefaultPort + i)] = "listening";
    }
    Set("/ports/tcp", ports);
    Set("/ports/host", true);
  }

  void PlaceServer(const std::string& password) {
    Json::Value config = Lab::KelvaneServer::UsualConfig();
    config["users"][0]["name"] = "Administrator@ostrel.local";
    config["users"][0]["password"] = password;
    server_.emplace(config);
    // Where the older line keeps the port, and where the platform installer does.
    SetRegistryString(L"HKEY_LOCAL_MACHINE\\SOFTWARE\\Ostrel, Inc.\\Ostrel Kelvane",
                      L"HttpsProxyPort", std::to_wstring(server_->Port()));
    WriteFile(
        L"C:\\ProgramData\\Ostrel\\KelvaneServer\\cfg\\install-defaults\\rhttpproxy.ext.port2",
        std::to_string(server_->Port()));
  }

  std::optional<Lab::KelvaneServer> server_;
  std::optional<Lab::Slapd> directory_;
};

}  // namespace Halvard
