#include "machine_services.h"

#include <cstdio>

#include "machine/machine.h"
#include "machine/text.h"

namespace Lab {
namespace {

constexpr std::uint64_t kLongestWithoutProgress = 30'000;
constexpr std::uint64_t kPoll = 250;

const Services::value_type& FindService(const Machine& machine, const std::string& name) {
  const Services& services = machine.Describe().services;
  const auto found = services.find(ToWide(name));
  if (found == services.end()) {
    throw MachineError((machine.Folder() / "machine.json").string() + ": /services: no service \"" +
                       name + "\"");
  }
  return *found;
}

void PrintState(const std::string& name, const ServiceStatus& status) {
  std::printf("%-28s %s\n", name.c_str(), NameOf(status.state).c_str());
  std::fflush(stdout);
}

/// Waits as long as the start makes progress.
ServiceStatus AwaitStart(Machine& machine, const Services::value_type& service) {
  const auto& [name, described] = service;
  std::uint64_t progressAt = machine.Clock().Ticks();
  std::uint32_t checkPoint = 0;
  for (;;) {
    const ServiceStatus status = machine.ServiceStates().StatusOf(name, described);
    if (status.state != ServiceState::kStartPending) return status;
    if (status.checkPoint > checkPoint) {
      checkPoint = status.checkPoint;
      progressAt = machine.Clock().Ticks();
    }
    if (machine.Clock().Ticks() - progressAt > kLongestWithoutProgress) return status;
    machine.Clock().Sleep(kPoll);
  }
}

bool StartOne(Machine& machine, const Services::value_type& service) {
  const auto& [name, described] = service;
  if (described.startError != 0) {
    std::printf("%-28s fails to start with code %u\n", ToUtf8(name).c_str(), described.startError);
    return false;
  }
  (void)machine.ServiceStates().Start(name, described);
  const ServiceStatus status = AwaitStart(machine, service);
  PrintState(ToUtf8(name), status);
  return status.state == ServiceState::kRunning;
}

}  // namespace

int ListServices(const std::filesystem::path& instance) {
  Machine machine(instance);
  for (const auto& [name, service] : machine.Describe().services) {
    const ServiceStatus status = machine.ServiceStates().StatusOf(name, service);
    std::printf("%-28s %-13s %s\n", ToUtf8(name).c_str(), NameOf(status.state).c_str(),
                ToUtf8(service.account.value_or(L"(driver)")).c_str());
  }
  return 0;
}

int StartServices(const std::filesystem::path& instance, const std::vector<std::string>& names) {
  Machine machine(instance);
  for (const std::string& name : names) {
    if (!StartOne(machine, FindService(machine, name))) return 1;
  }
  return 0;
}

int StopServices(const std::filesystem::path& instance, const std::vector<std::string>& names) {
  Machine machine(instance);
  for (const std::string& name : names) {
    const auto& [found, service] = FindService(machine, name);
    machine.ServiceStates().Stop(found, service);
    PrintState(ToUtf8(found), machine.ServiceStates().StatusOf(found, service));
  }
  return 0;
}

}  // namespace Lab
