// The services of the machine as described: how they are configured, and what becomes of them when
// they are started.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include <json/value.h>

#include "machine/text.h"

namespace Lab {

/// States by the numbers of the service manager.
enum class ServiceState : std::uint32_t {
  kStopped = 1,
  kStartPending = 2,
  kStopPending = 3,
  kRunning = 4,
  kPaused = 7,
};

/// \return The state of that name: "running", "startPending"; nothing for any other text.
std::optional<ServiceState> ServiceStateNamed(const std::string& name);
std::string NameOf(ServiceState state);

struct Service {
  /// A part of a start: what the service tells of itself for so long.
  struct Step {
    std::uint32_t milliseconds = 0;
    std::uint32_t waitHint = 0;
    std::uint32_t checkPoint = 0;
  };

  enum class Outcome { kRuns, kHangs, kStops };

  std::wstring displayName;
  std::wstring program;  ///< Its command line.
  /// As the service manager stores it, "LocalSystem" or ".\name"; nothing for a driver.
  std::optional<std::wstring> account;
  std::uint32_t startType = 2;  ///< By the numbers of the service manager: 2 automatic, 4 disabled.
  ServiceState state = ServiceState::kRunning;  ///< When the machine is started.

  std::uint32_t startError = 0;  ///< The code with which each try to start it fails.
  std::vector<Step> startSteps;  ///< In their order; none for a service that runs at once.
  Outcome outcome = Outcome::kRuns;
  std::uint32_t exitCode = 0;  ///< Of a service that stops instead of running.
};

/// By key name.
using Services = std::map<std::wstring, Service, LessNoCase>;

/// \param services  The description's member, already tested against the schema.
Services ReadServices(const Json::Value& services);

}  // namespace Lab
