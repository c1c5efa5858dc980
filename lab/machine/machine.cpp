#include "machine/machine.h"

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <vector>

#include "machine/reg_file.h"
#include "winerror.h"

namespace Lab {
namespace {

constexpr int kNoMachine = 3;

std::filesystem::path InstanceFolder(const std::filesystem::path& folder) {
  std::filesystem::path absolute = std::filesystem::absolute(folder).lexically_normal();
  return absolute.has_filename() ? absolute : absolute.parent_path();
}

std::filesystem::path RegistryFile(const std::filesystem::path& folder) {
  for (const char* part : {"registry.reg", "run", "drive_c"}) {
    if (std::filesystem::exists(folder / part)) continue;
    throw MachineError((folder / part).string() +
                       ": missing; a machine is started with lab-machine");
  }
  return folder / "registry.reg";
}

std::atomic<Machine*> gMachine{nullptr};
std::mutex gOpening;

// Machines live as long as the process: a thread may still sleep on the clock of an older one.
std::vector<std::unique_ptr<Machine>>& OpenedMachines() {
  static auto& machines = *new std::vector<std::unique_ptr<Machine>>;
  return machines;
}

Machine& OpenLocked(const std::filesystem::path& folder) {
  OpenedMachines().push_back(std::make_unique<Machine>(folder));
  gMachine = OpenedMachines().back().get();
  return *gMachine;
}

[[noreturn]] void EndWithoutMachine(const std::string& reason) {
  std::fprintf(stderr, "lab: %s\n", reason.c_str());
  std::_Exit(kNoMachine);
}

Machine& OpenFromEnvironment() {
  const std::lock_guard lock(gOpening);
  if (gMachine != nullptr) return *gMachine;
  const char* folder = std::getenv("HALVARD_LAB");
  if (folder == nullptr || *folder == '\0') {
    EndWithoutMachine(
        "no machine: HALVARD_LAB has to name an instance folder (see lab-machine start)");
  }
  try {
    return OpenLocked(folder);
  } catch (const std::exception& error) {
    EndWithoutMachine(error.what());
  }
}

}  // namespace

Machine::Machine(const std::filesystem::path& folder)
    : folder_(InstanceFolder(folder)),
      description_(ReadDescription(folder_)),
      registry_(RegistryFile(folder_)),
      faults_(description_.faults),
      clock_(description_.clock),
      serviceStates_(folder_, clock_),
      firewallOpenings_(folder_, description_.firewall) {}

std::uint32_t Machine::DomainRefusal() const {
  if (!description_.domain) return ERROR_NO_SUCH_DOMAIN;
  if (clock_.Age() < description_.domain->answersAfter) return ERROR_NO_LOGON_SERVERS;
  return description_.domain->refusal;
}

Machine& TheMachine() {
  Machine* const machine = gMachine;
  return machine != nullptr ? *machine : OpenFromEnvironment();
}

Machine& OpenMachine(const std::filesystem::path& folder) {
  const std::lock_guard lock(gOpening);
  return OpenLocked(folder);
}

}  // namespace Lab
