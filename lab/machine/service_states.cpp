#include "machine/service_states.h"

#include "machine/description.h"
#include "winerror.h"

namespace Lab {
namespace {

/// The service's own: names have no case, members of the file do.
std::string MemberOf(const Json::Value& states, const std::wstring& name) {
  for (const std::string& member : states.getMemberNames()) {
    if (EqualNoCase(ToWide(member), name)) return member;
  }
  return ToUtf8(name);
}

}  // namespace

ServiceStates::ServiceStates(const std::filesystem::path& instance, const Clock& clock)
    : document_(instance, "services"), clock_(clock) {}

Json::Value ServiceStates::Tested(const Json::Value& states) const {
  if (states.isNull()) return Json::Value(Json::objectValue);
  const auto isSound = [](const Json::Value& entry) {
    return entry.isObject() && entry["state"].isString() &&
           ServiceStateNamed(entry["state"].asString()) && entry.get("exitCode", 0).isUInt() &&
           entry.get("startedAt", 0).isUInt64();
  };
  const std::string file = document_.File().string();
  if (!states.isObject()) throw MachineError(file + ": /: expected an object");
  for (const std::string& name : states.getMemberNames()) {
    if (isSound(states[name])) continue;
    throw MachineError(file + ": /" + name +
                       ": expected an object with state, and exitCode or startedAt as needed");
  }
  return states;
}

void ServiceStates::Change(const std::function<void(Json::Value&)>& change) {
  document_.Change([&](Json::Value& states) {
    states = Tested(states);
    change(states);
  });
}

ServiceStatus ServiceStates::StatusOfStart(const Service& service, std::uint64_t startedAt) const {
  const std::uint64_t now = clock_.Ticks();
  // Ticks count from the host's start: one that lies ahead is of a time before the last of these.
  std::uint64_t left = now < startedAt ? ~std::uint64_t{0} : now - startedAt;
  ServiceStatus status{ServiceState::kStartPending, 0, 0, 0};
  for (const Service::Step& step : service.startSteps) {
    status.checkPoint = step.checkPoint;
    status.waitHint = step.waitHint;
    if (left < step.milliseconds) return status;
    left -= step.milliseconds;
  }
  if (service.outcome == Service::Outcome::kHangs) return status;
  if (service.outcome == Service::Outcome::kRuns) return {ServiceState::kRunning, 0, 0, 0};
  return {ServiceState::kStopped, service.exitCode, 0, 0};
}

ServiceStatus ServiceStates::StatusIn(const Json::Value& states, const std::wstring& name,
                                      const Service& service) const {
  const Json::Value& entry = states[MemberOf(states, name)];
  if (entry.isNull()) {
    // What was never started since the machine's own start tells so by this code.
    const bool isStopped = service.state == ServiceState::kStopped;
    const std::uint32_t code = isStopped ? ERROR_SERVICE_NEVER_STARTED : ERROR_SUCCESS;
    return {service.state, code, 0, 0};
  }
  if (entry.isMember("startedAt")) return StatusOfStart(service, entry["startedAt"].asUInt64());
  return {*ServiceStateNamed(entry["state"].asString()), entry.get("exitCode", 0).asUInt(), 0, 0};
}

ServiceStatus ServiceStates::StatusOf(const std::wstring& name, const Service& service) const {
  return StatusIn(Tested(document_.Read()), name, service);
}

bool ServiceStates::Start(const std::wstring& name, const Service& service) {
  bool isStarted = false;
  Change([&](Json::Value& states) {
    if (StatusIn(states, name, service).state != ServiceState::kStopped) return;
    Json::Value entry;
    entry["state"] = NameOf(ServiceState::kStartPending);
    entry["startedAt"] = Json::UInt64{clock_.Ticks()};
    states[MemberOf(states, name)] = entry;
    isStarted = true;
  });
  return isStarted;
}

void ServiceStates::Stop(const std::wstring& name, const Service& service) {
  Change([&](Json::Value& states) {
    if (StatusIn(states, name, service).state == ServiceState::kStopped) return;
    Json::Value entry;
    entry["state"] = NameOf(ServiceState::kStopped);
    states[MemberOf(states, name)] = entry;
  });
}

}  // namespace Lab
