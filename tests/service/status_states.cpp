// What the machines of a session show: properties, log, files, server.
#include <algorithm>
#include <filesystem>

#include "runner/cached_precheck_results.h"
#include "status_machines.h"

namespace Halvard::MigratorSvc {
namespace {

/// How the lines of the log that tell of a machine's moves begin; the next state follows.
const std::map<std::string, std::vector<std::wstring>> kLinesOfMoves = {
    {"prechecks",
     {L"LaunchUpgradeRunnerPreUpgradePhase: Changed the status of pre-upgrade checks to: "}},
    {"export",
     {L"LaunchUpgradeRunnerExportPhase: Changed the status of export to: ",
      L"LaunchUpgradeRunnerExport: Changed the status of export to: "}},
    {"result", {L"LaunchUpgradeRunnerExport: Changing the status of export result to: "}},
};

}  // namespace

std::vector<std::string> StatusMachines::MovesInLog(const std::string& machine) {
  std::vector<std::string> moves;
  for (const Testing::LogLine& line : Testing::OwnLog()) {
    for (const std::wstring& start : kLinesOfMoves.at(machine)) {
      if (line.message.starts_with(start)) {
        moves.push_back(WideToUtf8(line.message.substr(start.size())));
      }
    }
  }
  return moves;
}

void StatusMachines::TakeMoves() {
  for (const auto& [machine, lines] : kLinesOfMoves) {
    taken_[machine] = std::min(taken_[machine] + 1, MovesInLog(machine).size());
  }
}

std::vector<std::string> StatusMachines::MachinesThatMoveTooOften() {
  std::vector<std::string> machines;
  for (const auto& [machine, lines] : kLinesOfMoves) {
    if (MovesInLog(machine).size() != taken_[machine]) machines.push_back(machine);
  }
  return machines;
}

std::string StatusMachines::LastMove(const std::string& machine) const {
  const auto taken = taken_.find(machine);
  if (taken == taken_.end() || taken->second == 0) return FirstStates().at(machine);
  return MovesInLog(machine)[taken->second - 1];
}

std::string StatusMachines::Document() const {
  const std::string text = runner_.Read(L"UpgradeRunnerExportOutput.json");
  Json::Value document;
  if (!Json::Reader().parse(text, document)) return "none";
  if (document.isMember("question")) {
    return runner_.Read(L"reply").empty() ? "question" : "answered";
  }
  const std::string status = document["status"].asString();
  return status == "success" || status == "error" ? status : "working";
}

std::string StatusMachines::StateOfCopy(const char* operation) const {
  if (copying_ == operation) return zip_.IsHolding() ? "zipping" : "copying";
  const auto last = copies_.find(operation);
  return last == copies_.end() ? "none" : last->second;
}

bool StatusMachines::AgentWaits() {
  return std::ranges::any_of(Testing::OwnLog(), [](const Testing::LogLine& line) {
    return line.message.starts_with(L"WaitAndShutdownHV: Waiting for 1000 ");
  });
}

std::string StatusMachines::StateOfAgent() const {
  if (!server_.IsListening()) return "stopped";
  return AgentWaits() ? "waiting" : "serving";
}

StatusStates StatusMachines::Look() {
  const bool isHeld =
      !gProperties[L"SSO_USERNAME"].empty() && !gProperties[L"SSO_PASSWORD"].empty();
  const bool isCached = !Runner::gCachedPrecheckResults.Value().isNull();
  const bool isTold = std::filesystem::exists(machine_.Folder() / "shutdown.json");
  return {{"prechecks", LastMove("prechecks")},
          {"cached prechecks", isCached ? "held" : "none"},
          {"export", LastMove("export")},
          {"result", LastMove("result")},
          {"document", Document()},
          {"restart", services_.IsHolding() ? "starting" : "idle"},
          {"credentials", isHeld ? "held" : "none"},
          {"copy of data", StateOfCopy("copy of data")},
          {"copy of logs", StateOfCopy("copy of logs")},
          {"agent", StateOfAgent()},
          {"old machine", isTold ? "told" : "up"}};
}

}  // namespace Halvard::MigratorSvc
