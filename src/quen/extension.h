// What a Kelvane Server knows of a program that extends it.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tunrak/date_time.h"

namespace Quen {

struct Description {
  std::string label;
  std::string summary;
};

/// A part of a record that this client doesn't look into. It can be seen to be there, and be left
/// out, but not be written.
struct OpaqueData {};

struct Extension {
  /// How the program can be reached.
  struct ServerInfo {
    std::string url;
    Description description;
    std::string company;
    std::string type;
    std::vector<std::string> adminEmail;
    std::optional<std::string> serverThumbprint;
  };

  Description description;
  std::string key;
  std::optional<std::string> company;
  std::optional<std::string> type;
  std::string version;
  std::optional<std::string> subjectName;
  std::vector<ServerInfo> server;
  std::vector<OpaqueData> client;
  std::vector<OpaqueData> taskList;
  std::vector<OpaqueData> eventList;
  std::vector<OpaqueData> faultList;
  std::vector<OpaqueData> privilegeList;
  std::vector<OpaqueData> resourceList;
  Tunrak::System::DateTime lastHeartbeatTime;
  std::optional<OpaqueData> healthInfo;
  std::optional<OpaqueData> ovfConsumerInfo;
  std::optional<OpaqueData> extendedProductInfo;
  std::vector<OpaqueData> managedEntityInfo;
  std::optional<OpaqueData> solutionManagerInfo;
};

}  // namespace Quen
