// The one Windows computer that this process runs on: an instance folder that holds
//
//   machine.json   the whole description
//   drive_c/       and further drives: the machine's files
//   registry.reg   the registry as it is now
//   services.json  states of services that differ from the description, if there are any
//   firewall.json  the ports that are open in the firewall, once that was changed
//   shutdown.json  how the machine was told to shut down, once it was
//   run/           what running processes share: locks, named objects, a mark of validity
#pragma once

#include <atomic>
#include <filesystem>

#include "machine/call_census.h"
#include "machine/clock.h"
#include "machine/description.h"
#include "machine/faults.h"
#include "machine/firewall.h"
#include "machine/registry.h"
#include "machine/service_states.h"

namespace Lab {

class Machine {
 public:
  /// Opens the instance in \p folder.
  /// \throw MachineError when it isn't one or its description is wrong.
  explicit Machine(const std::filesystem::path& folder);

  const std::filesystem::path& Folder() const { return folder_; }
  std::filesystem::path RunFolder() const { return folder_ / "run"; }
  const Description& Describe() const { return description_; }

  Lab::Registry& Registry() { return registry_; }
  FaultPlan& Faults() { return faults_; }
  CallCensus& Calls() { return calls_; }
  Lab::Clock& Clock() { return clock_; }
  Lab::ServiceStates& ServiceStates() { return serviceStates_; }
  Lab::FirewallOpenings& FirewallOpenings() { return firewallOpenings_; }

  /// \return The error of every request to the joined domain at the moment: 1311 as long as nobody
  ///         answers, 1786 to 1789 where the domain doesn't trust the machine, 1355 without a
  ///         domain; 0 when all is well.
  std::uint32_t DomainRefusal() const;

  /// Calls of WSAStartup that no WSACleanup has undone yet.
  std::atomic<int>& SocketStartups() { return socketStartups_; }

  /// Whether this process's right to shut the machine down is in force.
  std::atomic<bool>& ShutdownPrivilege() { return shutdownPrivilege_; }

 private:
  std::filesystem::path folder_;
  Description description_;
  Lab::Registry registry_;
  FaultPlan faults_;
  CallCensus calls_;
  Lab::Clock clock_;
  Lab::ServiceStates serviceStates_;
  Lab::FirewallOpenings firewallOpenings_;
  std::atomic<int> socketStartups_{0};
  std::atomic<bool> shutdownPrivilege_{false};
};

/// The machine of this process. Opened at the first use from the folder that the environment
/// variable HALVARD_LAB names; without one, or with a faulty one, the program says so on standard
/// error and ends with exit code 3.
Machine& TheMachine();

/// Opens the instance in \p folder in place of the one before, for tests that run in this process.
/// Objects behind handles stay; the older machine stays valid for threads that still use it.
/// \throw MachineError
Machine& OpenMachine(const std::filesystem::path& folder);

}  // namespace Lab
