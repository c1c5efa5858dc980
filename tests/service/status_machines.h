// Drives the status machines of a session by its events, and tells what each of them is in.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <future>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "gate.h"
#include "service_test.h"
#include "status_transitions.h"
#include "support/listening_server.h"
#include "support/scripted_runner.h"
#include "support/started_threads.h"

namespace Halvard::MigratorSvc {

/// The session is that of an agent whose start-up hasn't run the prechecks yet. Requirements and
/// export are run by the agent's own code, with a runner that does what the session's next events
/// want; zip files, copies and services are stand-ins that hold the agent's threads.
class StatusMachines : public ServiceTest {
 protected:
  StatusMachines();
  ~StatusMachines() override;

  /// \return Whatever differs from the table, as texts; none if all is well.
  std::vector<std::string> Run(const StatusSession& session);

  /// The moves of one of the three machines that the log tells of, oldest first.
  static std::vector<std::string> MovesInLog(const std::string& machine);
  Json::Value Ask(Slot operation, const Json::Value& request = GoodRequest());

 private:
  using Driver = void (StatusMachines::*)();

  static const std::map<std::string_view, Driver>& Drivers();
  void Drive();

  // Each drives the event of the same name, or of several.
  void AskForPrechecks();
  void AskForPrechecksWithoutARunner();
  void AskInVain();
  void EndRequirements();
  void LoseRunner();
  void LoseThreads();
  void LoseSecondThread();
  void FailToStartRunner();
  void AskForExport();
  void AskForExportWithoutAThread();
  void LetRunnerStep();
  void EndExport();
  void LetServicesStart();
  void Answer();
  void Login();
  void AskForCopy();
  void MakeZip();
  void CopyFile();
  void ShutDown();
  void ShutDownWithoutAThread();
  void PassASecond();
  void InterruptByConsole();

  // What they are made of.
  void Begin(const std::wstring& type);
  void AskInBackground(Slot operation);
  void FinishCall(bool succeeds);
  void ExpectError(const Json::Value& reply, std::uint16_t message);
  void Await(const std::function<bool()>& condition, const char* what) const;
  void AwaitThreads();

  // What the machines show.
  StatusStates Look();
  std::string LastMove(const std::string& machine) const;
  /// Makes the event that was driven answerable for one further move of each machine.
  void TakeMoves();
  std::vector<std::string> MachinesThatMoveTooOften();
  std::string Document() const;
  std::string StateOfCopy(const char* operation) const;
  static bool AgentWaits();
  std::string StateOfAgent() const;

  Testing::ListeningServer server_;
  const Lab::StartedThreads threads_;
  Testing::ScriptedRunner runner_{machine_};
  Testing::Gate services_;
  Testing::Gate zip_;
  Testing::Gate copy_;
  std::future<Json::Value> call_;
  std::string copying_;                        ///< The machine whose request is in progress.
  std::map<std::string, std::string> copies_;  ///< How the last request of each has ended.
  std::map<std::string, std::size_t> taken_;   ///< Moves of the log that events answer for.
  StatusSession session_;
  std::size_t index_ = 0;  ///< Of the event that is driven.
  std::vector<std::string> faults_;
};

}  // namespace Halvard::MigratorSvc
