// What start-up hands from step to step beside the properties.
#pragma once

#include <cstdint>
#include <string>

namespace Halvard {

/// What the operator supplied, or what was derived for him.
struct UserInput {
  /// The Single Sign-On administrator, "name@domain". Derived, never asked for.
  std::wstring ssoUser;
  std::wstring ssoPassword;
  /// The account of the Kelvane Server service; empty when that runs as LocalSystem.
  std::wstring kvSaUser;
  std::wstring kvSaPassword;
  /// Empty unless it came from the command line.
  std::wstring exportDir;
  std::wstring hvIp;
  std::uint32_t hvPort = 0;
  /// The port came from the command line.
  bool hvPortGiven = false;
};

/// The update manager's record of the Kelvane Server that it belongs to.
struct TumInfo {
  std::wstring kvServer;
  std::int32_t kvPort = 0;
  std::wstring kvUserName;
  std::wstring kvThumbprint;
  std::wstring tumServer;
  std::wstring dbServerType;
};

}  // namespace Halvard
