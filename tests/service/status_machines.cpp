#include "status_machines.h"

#include <chrono>
#include <stdexcept>
#include <thread>
#include <utility>

#include "core/property_defaults.h"
#include "core/server_lifetime.h"
#include "core/startup/control_handler.h"
#include "runner/cached_precheck_results.h"
#include "runner_orders.h"

namespace Halvard::MigratorSvc {
namespace {

using Testing::TheSurroundings;

constexpr char kUser[] = "administrator@ostrel.local";

}  // namespace

StatusMachines::StatusMachines() {
  InitializeProperties();
  StartSession();
  gProperties[L"MC_LOCALE"] = L"en";
  gProperties[L"URExtractDirectory"] = Testing::ScriptedRunner::kFolder;
  machine_.SetVariable(Testing::kInventoryVariable, L"3 14");
  TheSurroundings().domain = Network::ActiveDirectoryConfig{};
  TheSurroundings().duringServices = [this] { services_.Pass(); };
  TheSurroundings().duringZip = [this] { zip_.Pass(); };
  TheSurroundings().duringCopy = [this] { copy_.Pass(); };
  Begin(L"embedded");
}

StatusMachines::~StatusMachines() {
  for (Testing::Gate* const gate : {&services_, &zip_, &copy_}) gate->OpenForGood();
  if (call_.valid()) call_.wait();
  AwaitThreads();
  TheSurroundings() = {};
}

void StatusMachines::Begin(const std::wstring& type) {
  gProperties[L"MIGRATION_TYPE"] = type;
  gProperties[L"PREUPGRADE_CHECKS_STATUS"] = L"NOT_STARTED";
  // Start-up has been given them.
  gProperties[L"SSO_USERNAME"] = Utf8ToWide(kUser);
  gProperties[L"SSO_PASSWORD"] = Testing::kAcceptedPassword;
  Runner::gCachedPrecheckResults = Json::Value();
}

std::vector<std::string> StatusMachines::Run(const StatusSession& session) {
  session_ = session;
  Begin(session.type);
  const Testing::ConsoleCapture console;
  StatusStates states = FirstStates();
  for (index_ = 0; index_ < session_.events.size(); ++index_) {
    const std::string_view event = session_.events[index_];
    Drive();
    TakeMoves();
    const StatusStates now = Look();
    for (const auto& [machine, state] : states) {
      const Transition* const row = FindTransition(machine, state, event);
      const std::string expected(row == nullptr ? std::string_view(state) : row->next);
      if (now.at(machine) == expected) continue;
      faults_.push_back(std::string(event) + ": " + std::string(machine) + " goes from " + state +
                        " to " + now.at(machine) + ", not to " + expected);
    }
    states = now;
  }
  for (const std::string& machine : MachinesThatMoveTooOften()) {
    faults_.push_back(machine + " moves more often than there are events for it");
  }
  return faults_;
}

const std::map<std::string_view, StatusMachines::Driver>& StatusMachines::Drivers() {
  using Self = StatusMachines;
  static const std::map<std::string_view, Driver> drivers = [] {
    std::map<std::string_view, Driver> all = {
        {"prechecks are asked for", &Self::AskForPrechecks},
        {"prechecks are asked for without a runner", &Self::AskForPrechecksWithoutARunner},
        {"prechecks are asked for during prechecks", &Self::AskInVain},
        {"prechecks are asked for during an export", &Self::AskInVain},
        {"an export is asked for before prechecks", &Self::AskInVain},
        {"an export is asked for during prechecks", &Self::AskInVain},
        {"an export is asked for during an export", &Self::AskInVain},
        {"the machine is to shut down before an export", &Self::AskInVain},
        {"the machine is to shut down during an export", &Self::AskInVain},
        {"the agent is to end during an export", &Self::AskInVain},
        {"the runner is gone", &Self::LoseRunner},
        {"no thread can be started", &Self::LoseThreads},
        {"a second thread can't be started", &Self::LoseSecondThread},
        {"the requirements can't be started", &Self::FailToStartRunner},
        {"the runner can't be started", &Self::FailToStartRunner},
        {"an export is asked for", &Self::AskForExport},
        {"an export is asked for without a thread", &Self::AskForExportWithoutAThread},
        {"the runner reports", &Self::LetRunnerStep},
        {"the runner asks", &Self::LetRunnerStep},
        {"the runner goes on", &Self::LetRunnerStep},
        {"the services are up", &Self::LetServicesStart},
        {"an answer is given", &Self::Answer},
        {"an answer is given to nothing", &Self::Answer},
        {"a good login", &Self::Login},
        {"a bad login", &Self::Login},
        {"a login with nothing", &Self::Login},
        {"a good comparison", &Self::Login},
        {"a bad comparison", &Self::Login},
        {"a comparison with nothing", &Self::Login},
        {"a copy of data is asked for", &Self::AskForCopy},
        {"a copy of logs is asked for", &Self::AskForCopy},
        {"the zip is made", &Self::MakeZip},
        {"the zip can't be made", &Self::MakeZip},
        {"the file arrives", &Self::CopyFile},
        {"the file is lost", &Self::CopyFile},
        {"the machine is to shut down", &Self::ShutDown},
        {"the machine is to shut down and can't", &Self::ShutDown},
        {"the agent is to end", &Self::ShutDown},
        {"the machine is to shut down without a thread", &Self::ShutDownWithoutAThread},
        {"the agent is to end without a thread", &Self::ShutDownWithoutAThread},
        {"the second is over", &Self::PassASecond},
        {"Ctrl+C", &Self::InterruptByConsole},
        {"Ctrl+Break", &Self::InterruptByConsole},
        {"the console is closed", &Self::InterruptByConsole},
        {"the user logs off", &Self::InterruptByConsole},
    };
    for (const RunnerEnd& end : ExportEnds()) all[end.event] = &Self::EndExport;
    for (const RunnerEnd& end : RequirementsEnds()) all[end.event] = &Self::EndRequirements;
    return all;
  }();
  return drivers;
}

void StatusMachines::Drive() { (this->*Drivers().at(session_.events[index_]))(); }

Json::Value StatusMachines::Ask(Slot operation, const Json::Value& request) {
  Json::Value reply;
  (service_.*operation)(
      Json::FastWriter().write(request), nullptr,
      [&](const std::optional<std::string>& output, const auto& /*error*/,
          const auto& /*progress*/) { (void)Json::Reader().parse(output.value_or(""), reply); });
  return reply;
}

void StatusMachines::AskInBackground(Slot operation) {
  call_ = std::async(std::launch::async, [this, operation] { return Ask(operation); });
}

void StatusMachines::FinishCall(bool succeeds) {
  const Json::Value reply = call_.get();
  if ((reply["result"] == "success") != succeeds) {
    faults_.push_back("reply: " + reply.toStyledString());
  }
}

void StatusMachines::ExpectError(const Json::Value& reply, std::uint16_t message) {
  const std::wstring expected = message == 0 ? L"" : Message(kEnglish, message);
  if (Utf8ToWide(reply["error"].asString()) == expected) return;
  faults_.push_back(std::string(session_.events[index_]) + ": " + reply.toStyledString());
}

void StatusMachines::AskInVain() {
  struct Refusal {
    Slot operation;
    std::uint16_t message;
  };
  static const std::map<std::string_view, Refusal> kRefusals = {
      {"prechecks are asked for during prechecks",
       {&AsyncServiceInterface::InvokePreUpgrade, 1086}},
      {"prechecks are asked for during an export",
       {&AsyncServiceInterface::InvokePreUpgrade, 1085}},
      {"an export is asked for before prechecks", {&AsyncServiceInterface::InvokeExport, 1066}},
      {"an export is asked for during prechecks", {&AsyncServiceInterface::InvokeExport, 1067}},
      {"an export is asked for during an export", {&AsyncServiceInterface::InvokeExport, 1068}},
      {"the machine is to shut down before an export",
       {&AsyncServiceInterface::ShutdownMachine, 1093}},
      {"the machine is to shut down during an export",
       {&AsyncServiceInterface::ShutdownMachine, 1094}},
      {"the agent is to end during an export", {&AsyncServiceInterface::ShutdownHv, 1170}},
  };
  const Refusal& refusal = kRefusals.at(session_.events[index_]);
  ExpectError(Ask(refusal.operation), refusal.message);
}

void StatusMachines::AskForPrechecks() {
  runner_.OrderRequirements(StepsOfRequirements(session_.events, index_));
  AskInBackground(&AsyncServiceInterface::InvokePreUpgrade);
  runner_.WaitFor(StartedMark(index_));
}

void StatusMachines::AskForPrechecksWithoutARunner() {
  ExpectError(Ask(&AsyncServiceInterface::InvokePreUpgrade), 1091);
}

void StatusMachines::EndRequirements() {
  const RunnerEnd& end = *FindEnd(RequirementsEnds(), session_.events[index_]);
  runner_.Tell(GoMark(index_));
  // Only an update manager does without a system name, which this runner doesn't find.
  FinishCall(end.code == 0 && session_.type == L"tum");
}

void StatusMachines::LoseRunner() { gProperties[L"URExtractDirectory"] = L"C:\\nowhere"; }

void StatusMachines::LoseThreads() {
  machine_.PlanFault({.function = "CreateThread", .error = ERROR_NOT_ENOUGH_MEMORY});
}

void StatusMachines::LoseSecondThread() {
  machine_.PlanFault({.function = "CreateThread", .call = 2, .error = ERROR_NOT_ENOUGH_MEMORY});
}

// What is left of an event that was over before anybody could look.
void StatusMachines::FailToStartRunner() {}

void StatusMachines::AskForExport() {
  runner_.OrderExport(StepsOfExport(session_.events, index_));
  ExpectError(Ask(&AsyncServiceInterface::InvokeExport), 0);
  if (session_.events[index_ + 1] == "the runner can't be started") {
    AwaitThreads();
  } else {
    runner_.WaitFor(StartedMark(index_));
  }
}

void StatusMachines::AskForExportWithoutAThread() {
  ExpectError(Ask(&AsyncServiceInterface::InvokeExport), 1070);
}

void StatusMachines::LetRunnerStep() {
  runner_.Tell(GoMark(index_));
  runner_.WaitFor(DoneMark(index_));
}

void StatusMachines::EndExport() {
  runner_.Tell(GoMark(index_));
  if (session_.events[index_] == "the export ends with 1 and error") {
    services_.AwaitArrival();
  } else {
    AwaitThreads();
  }
}

void StatusMachines::LetServicesStart() {
  services_.LetOnePass();
  AwaitThreads();
}

void StatusMachines::Answer() {
  Json::Value request = GoodRequest();
  request["answer"] = "yes";
  const bool isAsked = session_.events[index_] == "an answer is given";
  ExpectError(Ask(&AsyncServiceInterface::CreateAnswerFile, request), isAsked ? 0 : 1082);
}

void StatusMachines::Login() {
  const std::string_view event = session_.events[index_];
  Json::Value request = GoodRequest();
  std::uint16_t message = 0;
  if (event.starts_with("a bad ")) {
    request["sso_password"] = "wrong";
    message = 1098;
  } else if (event.ends_with("with nothing")) {
    request.removeMember("sso_password");
    message = 1096;
  }
  Testing::CheckCalls().clear();
  ExpectError(Ask(&AsyncServiceInterface::PollExportStatus, request), message);
  // A comparison asks nobody, and neither does a login with nothing.
  const bool asks = event.ends_with(" login");
  if (Testing::CheckCalls().empty() == asks) faults_.push_back(std::string(event) + ": asked");
}

void StatusMachines::AskForCopy() {
  const bool isData = session_.events[index_] == "a copy of data is asked for";
  copying_ = isData ? "copy of data" : "copy of logs";
  AskInBackground(isData ? &AsyncServiceInterface::CopyExportData
                         : &AsyncServiceInterface::CopyLogsDirectory);
  zip_.AwaitArrival();
}

void StatusMachines::MakeZip() {
  const bool isMade = session_.events[index_] == "the zip is made";
  TheSurroundings().exportZipError =
      isMade ? std::nullopt : std::optional<std::wstring>(L"no zip file");
  TheSurroundings().logsAreBundled = isMade;
  zip_.LetOnePass();
  if (isMade) return copy_.AwaitArrival();
  FinishCall(false);
  copies_[std::exchange(copying_, "")] = "failed";
}

void StatusMachines::CopyFile() {
  const bool arrives = session_.events[index_] == "the file arrives";
  TheSurroundings().filesArrive = arrives;
  copy_.LetOnePass();
  FinishCall(arrives);
  copies_[std::exchange(copying_, "")] = arrives ? "copied" : "failed";
}

void StatusMachines::ShutDown() {
  const std::string_view event = session_.events[index_];
  const bool isRefused = event == "the machine is to shut down and can't";
  if (isRefused) machine_.PlanFault({.function = "InitiateShutdownW", .error = 1115});
  Lab::TheMachine().Clock().Stop();
  const Json::Value reply =
      Ask(event == "the agent is to end" ? &AsyncServiceInterface::ShutdownHv
                                         : &AsyncServiceInterface::ShutdownMachine);
  if ((reply["result"] == "fail") != isRefused) faults_.push_back(reply.toStyledString());
  Await([] { return AgentWaits(); }, "waiting");
}

void StatusMachines::ShutDownWithoutAThread() {
  const bool endsAgent = session_.events[index_] == "the agent is to end without a thread";
  ExpectError(
      Ask(endsAgent ? &AsyncServiceInterface::ShutdownHv : &AsyncServiceInterface::ShutdownMachine),
      endsAgent ? 1171 : 0);
}

void StatusMachines::PassASecond() {
  Await(
      [this] {
        Lab::TheMachine().Clock().Advance(1000);
        return !server_.IsListening();
      },
      "end of the server");
  JoinServer();
}

void StatusMachines::InterruptByConsole() {
  static const std::map<std::string_view, DWORD> kTypes = {
      {"Ctrl+C", CTRL_C_EVENT},
      {"Ctrl+Break", CTRL_BREAK_EVENT},
      {"the console is closed", CTRL_CLOSE_EVENT},
      {"the user logs off", CTRL_LOGOFF_EVENT}};
  Lab::TheMachine().Clock().MoveBySleeps();
  (void)CtrlHandler(kTypes.at(session_.events[index_]));
}

void StatusMachines::Await(const std::function<bool()>& condition, const char* what) const {
  const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(1);
  while (!condition()) {
    if (std::chrono::steady_clock::now() > end) {
      throw std::runtime_error(std::string("never: ") + what);
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
}

void StatusMachines::AwaitThreads() {
  // A thread that waits to end the agent waits on a clock that stands.
  if (AgentWaits()) {
    Lab::TheMachine().Clock().MoveBySleeps();
    Lab::TheMachine().Clock().Advance(10'000);
  }
  threads_.AwaitEnd();
}

}  // namespace Halvard::MigratorSvc
