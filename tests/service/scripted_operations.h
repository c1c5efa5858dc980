// Stand-ins for what the operations ask of the machine's surroundings: domain, network, remote
// nodes, prechecks, services, zip files and copies. A test decides them, and sees the calls among
// CheckCalls().
#pragma once

#include <json/value.h>

#include <functional>
#include <optional>
#include <string>

#include "network/directory_domain.h"

namespace Halvard::Testing {

struct Surroundings {
  /// Nothing: the system can't tell.
  std::optional<Network::ActiveDirectoryConfig> domain;
  /// What the collection of the network makes of the reply, and whether it answers true.
  Json::Value network;
  bool networkIsCollected = false;
  /// The code of the requirements phase, and what it hands out.
  int precheckCode = 0;
  Json::Value precheckOutput;
  /// Done in the middle of the requirements phase.
  std::function<void()> duringPrechecks;
  /// Nothing: the remote node doesn't tell.
  std::optional<std::wstring> controllerVersion;
  std::optional<int> proxyPort;
  /// Nothing: a zip file of the export is made. Otherwise why there is none.
  std::optional<std::wstring> exportZipError;
  bool logsAreBundled = true;
  bool filesArrive = true;
  /// Done in the middle of making a zip file, of copying a file, and of starting services.
  std::function<void()> duringZip;
  std::function<void()> duringCopy;
  std::function<void()> duringServices;
};

/// The surroundings of the test that runs.
Surroundings& TheSurroundings();

}  // namespace Halvard::Testing
