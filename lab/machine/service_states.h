// What the machine's services do at the moment, in the file services.json of the instance:
//
//   {"kelvd": {"state": "stopped", "exitCode": 1067}, "kelweb": {"state": "startPending",
//    "startedAt": 123456}}
//
// A service that isn't in the file, and all of them without one, are as described.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>

#include <json/value.h>

#include "machine/clock.h"
#include "machine/services.h"
#include "machine/shared_document.h"

namespace Lab {

/// What the service manager tells of a service.
struct ServiceStatus {
  ServiceState state = ServiceState::kStopped;
  std::uint32_t exitCode = 0;
  std::uint32_t checkPoint = 0;
  std::uint32_t waitHint = 0;  ///< Milliseconds.
};

/// The state on disk, shared by all processes of an instance: a change is there when the call
/// returns. Safe under threads.
///
/// Nothing runs behind a service. What it tells of itself follows from the time since its start.
class ServiceStates {
 public:
  ServiceStates(const std::filesystem::path& instance, const Clock& clock);

  /// \throw MachineError when somebody has spoilt the file.
  ServiceStatus StatusOf(const std::wstring& name, const Service& service) const;

  /// Begins the start of a service. Nothing changes unless it is stopped.
  /// \return False when it isn't stopped.
  bool Start(const std::wstring& name, const Service& service);

  /// Stops a service, at once. Nothing changes when it is stopped already.
  void Stop(const std::wstring& name, const Service& service);

 private:
  Json::Value Tested(const Json::Value& states) const;
  void Change(const std::function<void(Json::Value&)>& change);
  ServiceStatus StatusIn(const Json::Value& states, const std::wstring& name,
                         const Service& service) const;
  ServiceStatus StatusOfStart(const Service& service, std::uint64_t startedAt) const;

  SharedDocument document_;
  const Clock& clock_;
};

}  // namespace Lab
