// What a Kelvane Server of the lab is told about itself before it starts.
#pragma once

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "extension.h"
#include "planned_faults.h"

namespace Lab::Kelvane {

/// A description that can't be used. Its text names the file, the place in it and what was expected
/// there; it never holds a password.
class ConfigError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct User {
  std::string name;
  std::string password;
};

/// When a session ends by itself; neither means never.
struct SessionLifetime {
  std::optional<double> seconds;  ///< Without a request in between.
  std::optional<int> requests;    ///< After the login.
};

struct InventorySizes {
  std::uint32_t seed = 1;
  std::uint32_t hosts = 0;
  std::uint32_t machines = 0;
  std::uint32_t dataCenters = 1;
  std::uint32_t folderDepth = 2;
  std::uint32_t virtualApps = 0;
};

struct Content {
  bool sessionManager = true;
  bool extensionManager = true;
  std::string idSuffix;  ///< Stands behind the ids of the managers and of the property collector.
};

struct EndPointType {
  std::optional<std::string> protocol;
  std::optional<std::string> type;
};

struct EndPoint {
  std::string url;
  EndPointType type;
};

struct Registration {
  std::string serviceId;
  std::string product;
  std::string type;
  std::vector<EndPoint> endPoints;
};

struct Config {
  std::string address = "127.0.0.1";
  std::uint16_t port = 0;                 ///< 0: the system chooses.
  std::string tunnelPath = "/sdkTunnel";  ///< Empty: no tunnel.
  std::string certificateFile;            ///< Empty: a self-signed certificate is made.
  std::vector<User> users;
  SessionLifetime session;
  Content content;
  bool explicitFlags = true;
  std::uint32_t pageLimit = 1'000'000'000;
  InventorySizes inventory;
  std::vector<Extension> extensions;
  bool lookupServiceRegistration = true;
  std::vector<Registration> registrations;
  std::vector<OperationFault> faults;
  std::vector<ConnectionFault> connectionFaults;
};

/// Reads a description, as config.schema.json describes it.
/// \param name  The file's name for errors.
/// Throws ConfigError.
Config ParseConfig(const std::string& json, const std::string& name);

/// The same for a file; "-" is standard input. Throws ConfigError.
Config ReadConfig(const std::string& file);

}  // namespace Lab::Kelvane
