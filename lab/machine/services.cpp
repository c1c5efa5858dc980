#include "machine/services.h"

#include <algorithm>
#include <utility>

#include "machine/json_text.h"

namespace Lab {
namespace {

using NamedState = std::pair<const char*, ServiceState>;
constexpr NamedState kStates[] = {{"stopped", ServiceState::kStopped},
                                  {"startPending", ServiceState::kStartPending},
                                  {"stopPending", ServiceState::kStopPending},
                                  {"running", ServiceState::kRunning},
                                  {"paused", ServiceState::kPaused}};

std::uint32_t StartType(const std::string& name) {
  constexpr std::uint32_t kAutomatic = 2, kManual = 3, kDisabled = 4;
  if (name == "disabled") return kDisabled;
  return name == "manual" ? kManual : kAutomatic;
}

Service::Outcome OutcomeNamed(const std::string& name) {
  if (name == "hangs") return Service::Outcome::kHangs;
  return name == "stops" ? Service::Outcome::kStops : Service::Outcome::kRuns;
}

void ReadStart(const Json::Value& start, Service& service) {
  service.startError = start.get("error", 0).asUInt();
  for (const Json::Value& step : start["steps"]) {
    const auto number = static_cast<std::uint32_t>(service.startSteps.size() + 1);
    service.startSteps.push_back({step["milliseconds"].asUInt(), step.get("waitHint", 0).asUInt(),
                                  step.get("checkPoint", number).asUInt()});
  }
  service.outcome = OutcomeNamed(start.get("outcome", "runs").asString());
  service.exitCode = start.get("exitCode", 0).asUInt();
}

}  // namespace

std::optional<ServiceState> ServiceStateNamed(const std::string& name) {
  const auto found = std::ranges::find(kStates, name, &NamedState::first);
  if (found == std::end(kStates)) return std::nullopt;
  return found->second;
}

std::string NameOf(ServiceState state) {
  return std::ranges::find(kStates, state, &NamedState::second)->first;
}

Services ReadServices(const Json::Value& services) {
  Services read;
  for (const std::string& name : services.getMemberNames()) {
    const Json::Value& description = services[name];
    Service service;
    service.displayName = WideText(description.get("displayName", name));
    service.program = WideText(description["program"]);
    if (!description.get("driver", false).asBool()) {
      service.account = WideText(description.get("account", "LocalSystem"));
    }
    service.startType = StartType(description.get("startType", "automatic").asString());
    service.state = *ServiceStateNamed(description.get("state", "running").asString());
    ReadStart(description["start"], service);
    read.emplace(ToWide(name), std::move(service));
  }
  return read;
}

}  // namespace Lab
