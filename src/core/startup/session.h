// One run of the agent, step by step.
#pragma once

#include <optional>
#include <string>

#include "core/user_input.h"
#include "network/adapter_snapshot.h"
#include "pion/scheduler.h"
#include "runner/runner_extraction.h"
#include "security/firewall.h"

namespace Halvard {

/// What a run's steps hand on. Its end undoes what the steps have set up.
struct Session {
  explicit Session(int argumentCount) : argc(argumentCount) {}
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;
  ~Session();

  /// The process's count of arguments, the program's name included: with 1 the operator is asked.
  int argc;
  UserInput input;
  TumInfo tumInfo;
  /// MIGRATION_TYPE as discovery left it. Every later decision of start-up goes by this copy.
  std::wstring migrationType;

  // What ends with the run, in the reverse of this order.
  std::optional<Network::AdapterAddressesWrapper> adapters;
  std::optional<Runner::PythonUpgradeRunnerExtractor> extractor;
  std::optional<Security::TempFirewallException> firewallOpening;
  std::optional<pion::single_service_scheduler> scheduler;
};

/// Runs every step from discovery to the announcement that the migration may begin.
/// \return False when a step failed. The step has told the operator, and left the English text in
///         HV_INIT_ERROR where it has one.
bool StartSession(Session& session);

/// Waits until the server has been stopped, and takes back what StartSession left elsewhere.
void ServeUntilStopped(const Session& session);

}  // namespace Halvard
