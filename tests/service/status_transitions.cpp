#include "status_transitions.h"

#include <algorithm>

namespace Halvard::MigratorSvc {
namespace {

// What the machines are, and where their states show:
//   prechecks, export, result   the three status properties, each move with its line in the log
//   cached prechecks            the last output of the requirements phase
//   credentials                 the pair that was accepted last
//   document                    what a poll shows of the runner's document, and its answer
//   restart                     the services' start behind a failed export
//   copy of data, copy of logs  the two requests that copy
//   agent                       its server
//   old machine                 whether it was told to shut down
constexpr Transition kTransitions[] = {
    {"prechecks", "NOT_STARTED", "prechecks are asked for", "RUNNING"},
    {"prechecks", "FINISHED", "prechecks are asked for", "RUNNING"},
    {"prechecks", "RUNNING", "prechecks are asked for during prechecks", "RUNNING"},
    {"prechecks", "FINISHED", "prechecks are asked for during an export", "FINISHED"},
    {"prechecks", "RUNNING", "the requirements end well", "FINISHED"},
    {"prechecks", "RUNNING", "the requirements end badly", "FINISHED"},
    {"prechecks", "RUNNING", "the requirements end without output", "FINISHED"},
    {"prechecks", "FINISHED", "prechecks are asked for without a runner", "RUNNING"},
    {"prechecks", "RUNNING", "the requirements can't be started", "FINISHED"},

    {"cached prechecks", "none", "the requirements end well", "held"},
    {"cached prechecks", "held", "the requirements end well", "held"},
    {"cached prechecks", "none", "the requirements end badly", "held"},
    {"cached prechecks", "held", "the requirements end without output", "none"},
    {"cached prechecks", "held", "prechecks are asked for without a runner", "none"},
    {"cached prechecks", "held", "prechecks are asked for", "held"},

    {"export", "NOT_STARTED", "an export is asked for before prechecks", "NOT_STARTED"},
    {"export", "NOT_STARTED", "an export is asked for during prechecks", "NOT_STARTED"},
    {"export", "NOT_STARTED", "an export is asked for", "RUNNING"},
    {"export", "FINISHED", "an export is asked for", "RUNNING"},
    {"export", "RUNNING", "an export is asked for during an export", "RUNNING"},
    {"export", "NOT_STARTED", "an export is asked for without a thread", "RUNNING"},
    {"export", "FINISHED", "an export is asked for without a thread", "RUNNING"},
    {"export", "RUNNING", "the export ends with 0 and success", "FINISHED"},
    {"export", "RUNNING", "the export ends with 0 and error", "FINISHED"},
    {"export", "RUNNING", "the export ends with 0 and neither", "FINISHED"},
    {"export", "RUNNING", "the export ends with 0 and no document", "FINISHED"},
    {"export", "RUNNING", "the export ends with 1 and success", "FINISHED"},
    {"export", "RUNNING", "the export ends with 1 and error", "FINISHED"},
    {"export", "RUNNING", "the export ends with 1 and neither", "FINISHED"},
    {"export", "RUNNING", "the export ends with 1 and no document", "FINISHED"},
    {"export", "RUNNING", "the export ends with 1 and error, without a thread", "FINISHED"},
    {"export", "RUNNING", "the runner can't be started", "FINISHED"},

    {"result", "FAIL", "the export ends with 0 and success", "SUCCESS"},
    {"result", "SUCCESS", "the export ends with 0 and success", "SUCCESS"},
    {"result", "FAIL", "the export ends with 0 and error", "FAIL"},
    {"result", "SUCCESS", "the export ends with 0 and error", "SUCCESS"},
    {"result", "FAIL", "the export ends with 0 and neither", "FAIL"},
    {"result", "SUCCESS", "the export ends with 0 and neither", "SUCCESS"},
    {"result", "FAIL", "the export ends with 0 and no document", "FAIL"},
    {"result", "SUCCESS", "the export ends with 0 and no document", "SUCCESS"},
    {"result", "FAIL", "the export ends with 1 and success", "FAIL"},
    {"result", "SUCCESS", "the export ends with 1 and success", "SUCCESS"},
    {"result", "FAIL", "the export ends with 1 and error", "FAIL"},
    {"result", "SUCCESS", "the export ends with 1 and error", "FAIL"},
    {"result", "FAIL", "the export ends with 1 and neither", "FAIL"},
    {"result", "SUCCESS", "the export ends with 1 and neither", "SUCCESS"},
    {"result", "FAIL", "the export ends with 1 and no document", "FAIL"},
    {"result", "SUCCESS", "the export ends with 1 and no document", "SUCCESS"},
    {"result", "SUCCESS", "the export ends with 1 and error, without a thread", "FAIL"},
    {"result", "FAIL", "the runner can't be started", "FAIL"},
    {"result", "SUCCESS", "the runner can't be started", "SUCCESS"},
    {"result", "FAIL", "an export is asked for", "FAIL"},
    {"result", "SUCCESS", "an export is asked for", "SUCCESS"},

    {"document", "none", "an export is asked for", "none"},
    {"document", "success", "an export is asked for", "none"},
    {"document", "error", "an export is asked for", "none"},
    {"document", "none", "an answer is given to nothing", "none"},
    {"document", "none", "the runner reports", "working"},
    {"document", "working", "an answer is given to nothing", "working"},
    {"document", "working", "the runner asks", "question"},
    {"document", "question", "an answer is given", "answered"},
    {"document", "answered", "an answer is given", "answered"},
    {"document", "answered", "the runner goes on", "working"},
    {"document", "working", "the export ends with 0 and success", "success"},
    {"document", "none", "the export ends with 0 and success", "success"},
    {"document", "none", "the export ends with 1 and success", "success"},
    {"document", "none", "the export ends with 0 and error", "error"},
    {"document", "none", "the export ends with 1 and error", "error"},
    {"document", "none", "the export ends with 1 and error, without a thread", "error"},
    {"document", "none", "the export ends with 0 and neither", "working"},
    {"document", "none", "the export ends with 1 and neither", "working"},
    {"document", "none", "the export ends with 0 and no document", "none"},
    {"document", "none", "the export ends with 1 and no document", "none"},

    {"restart", "idle", "the export ends with 1 and error", "starting"},
    {"restart", "starting", "the services are up", "idle"},
    {"restart", "idle", "the export ends with 1 and error, without a thread", "idle"},
    {"restart", "idle", "the export ends with 0 and success", "idle"},
    {"restart", "idle", "the export ends with 0 and error", "idle"},
    {"restart", "idle", "the export ends with 1 and success", "idle"},
    {"restart", "idle", "the export ends with 1 and neither", "idle"},
    {"restart", "idle", "the export ends with 1 and no document", "idle"},
    {"restart", "idle", "the runner can't be started", "idle"},

    {"credentials", "held", "a good login", "held"},
    {"credentials", "none", "a good login", "held"},
    {"credentials", "held", "a bad login", "none"},
    {"credentials", "none", "a bad login", "none"},
    {"credentials", "held", "a login with nothing", "none"},
    {"credentials", "held", "a good comparison", "held"},
    {"credentials", "held", "a bad comparison", "held"},
    {"credentials", "held", "a comparison with nothing", "held"},

    {"copy of data", "none", "a copy of data is asked for", "zipping"},
    {"copy of data", "failed", "a copy of data is asked for", "zipping"},
    {"copy of data", "copied", "a copy of data is asked for", "zipping"},
    {"copy of data", "zipping", "the zip is made", "copying"},
    {"copy of data", "zipping", "the zip can't be made", "failed"},
    {"copy of data", "copying", "the file arrives", "copied"},
    {"copy of data", "copying", "the file is lost", "failed"},

    {"copy of logs", "none", "a copy of logs is asked for", "zipping"},
    {"copy of logs", "failed", "a copy of logs is asked for", "zipping"},
    {"copy of logs", "copied", "a copy of logs is asked for", "zipping"},
    {"copy of logs", "zipping", "the zip is made", "copying"},
    {"copy of logs", "zipping", "the zip can't be made", "failed"},
    {"copy of logs", "copying", "the file arrives", "copied"},
    {"copy of logs", "copying", "the file is lost", "failed"},

    {"agent", "serving", "the machine is to shut down before an export", "serving"},
    {"agent", "serving", "the machine is to shut down during an export", "serving"},
    {"agent", "serving", "the machine is to shut down", "waiting"},
    {"agent", "serving", "the machine is to shut down and can't", "waiting"},
    {"agent", "serving", "the machine is to shut down without a thread", "serving"},
    {"agent", "serving", "the agent is to end during an export", "serving"},
    {"agent", "serving", "the agent is to end", "waiting"},
    {"agent", "serving", "the agent is to end without a thread", "serving"},
    {"agent", "waiting", "the second is over", "stopped"},
    {"agent", "serving", "Ctrl+C", "stopped"},
    {"agent", "serving", "Ctrl+Break", "stopped"},
    {"agent", "serving", "the console is closed", "stopped"},
    {"agent", "serving", "the user logs off", "serving"},
    {"agent", "waiting", "Ctrl+C", "stopped"},

    {"old machine", "up", "the machine is to shut down before an export", "up"},
    {"old machine", "up", "the machine is to shut down during an export", "up"},
    {"old machine", "up", "the machine is to shut down", "told"},
    {"old machine", "up", "the machine is to shut down and can't", "up"},
    {"old machine", "up", "the machine is to shut down without a thread", "told"},
    {"old machine", "up", "the agent is to end", "up"},
};

using Events = std::vector<std::string_view>;

Events operator+(Events events, const Events& further) {
  events.insert(events.end(), further.begin(), further.end());
  return events;
}

const Events kPrechecks = {"prechecks are asked for", "the requirements end well"};
const Events kExport = {"an export is asked for", "the export ends with 0 and success"};

std::vector<StatusSession> PrecheckSessions() {
  return {
      {"Prechecks",
       L"tum",
       {"prechecks are asked for", "prechecks are asked for during prechecks",
        "an export is asked for during prechecks", "the requirements end badly",
        "prechecks are asked for", "the requirements end well", "prechecks are asked for",
        "the requirements end well", "prechecks are asked for",
        "the requirements end without output"}},
      {"PrechecksWithoutARunner", L"tum",
       kPrechecks + Events{"the runner is gone", "prechecks are asked for without a runner",
                           "the requirements can't be started"}},
      {"ExportBeforePrechecks", L"tum", {"an export is asked for before prechecks"}},
  };
}

/// An export that ends so, as the first one and behind one that was good.
std::vector<StatusSession> EndSessions() {
  std::vector<StatusSession> sessions;
  for (const std::string_view end :
       {"the export ends with 0 and success", "the export ends with 0 and error",
        "the export ends with 0 and neither", "the export ends with 0 and no document",
        "the export ends with 1 and success", "the export ends with 1 and error",
        "the export ends with 1 and neither", "the export ends with 1 and no document"}) {
    Events again = {"an export is asked for", end};
    if (end == "the export ends with 1 and error") {
      again = again + Events{"the services are up", "an export is asked for",
                             "the export ends with 0 and success"};
    }
    const std::string title = "End" + std::to_string(sessions.size() / 2);
    sessions.push_back({title + "First", L"embedded", kPrechecks + again});
    sessions.push_back({title + "BehindAGoodOne", L"embedded", kPrechecks + kExport + again});
  }
  return sessions;
}

std::vector<StatusSession> ExportSessions() {
  const Events withoutARunner = {"the runner is gone", "an export is asked for",
                                 "the runner can't be started"};
  const Events withoutAThread = {"no thread can be started",
                                 "an export is asked for without a thread",
                                 "an export is asked for during an export"};
  return {
      {"QuestionAndAnswer", L"tum",
       kPrechecks + Events{"an export is asked for", "an export is asked for during an export",
                           "prechecks are asked for during an export",
                           "an answer is given to nothing", "the runner reports",
                           "an answer is given to nothing", "the runner asks", "an answer is given",
                           "an answer is given", "the runner goes on",
                           "the export ends with 0 and success"}},
      {"ExportWithoutARunner", L"tum", kPrechecks + withoutARunner},
      {"SecondExportWithoutARunner", L"tum", kPrechecks + kExport + withoutARunner},
      {"ExportWithoutAThread", L"tum", kPrechecks + withoutAThread},
      {"SecondExportWithoutAThread", L"tum", kPrechecks + kExport + withoutAThread},
      {"NoThreadForTheServices", L"embedded",
       kPrechecks + kExport +
           Events{"a second thread can't be started", "an export is asked for",
                  "the export ends with 1 and error, without a thread"}},
  };
}

std::vector<StatusSession> CredentialSessions() {
  const Events logins = {"a good login", "a bad login",          "a bad login",
                         "a good login", "a login with nothing", "a good login"};
  const Events comparisons = {"a good comparison", "a bad comparison", "a comparison with nothing"};
  return {
      {"Logins", L"tum", logins},
      {"Comparisons", L"tum",
       kPrechecks + Events{"an export is asked for"} + comparisons +
           Events{"the export ends with 0 and success"} + comparisons},
      {"LoginsBehindAFailedExport", L"embedded",
       kPrechecks +
           Events{"an export is asked for", "the export ends with 1 and error",
                  "the services are up"} +
           logins},
  };
}

std::vector<StatusSession> CopySessions() {
  std::vector<StatusSession> sessions;
  for (const std::string_view ask :
       {"a copy of data is asked for", "a copy of logs is asked for"}) {
    const Events copies = {ask,
                           "the zip can't be made",
                           ask,
                           "the zip is made",
                           "the file arrives",
                           ask,
                           "the zip is made",
                           "the file is lost"};
    const std::string what = ask == "a copy of data is asked for" ? "Data" : "Logs";
    sessions.push_back({"CopiesOf" + what, L"embedded", kPrechecks + kExport + copies});
  }
  return sessions;
}

std::vector<StatusSession> EndOfAgentSessions() {
  return {
      {"Shutdown", L"embedded",
       Events{"the machine is to shut down before an export"} + kPrechecks +
           Events{"an export is asked for", "the machine is to shut down during an export",
                  "the export ends with 0 and success", "the machine is to shut down",
                  "the second is over"}},
      {"ShutdownThatIsRefused", L"embedded",
       kPrechecks + kExport +
           Events{"the machine is to shut down and can't", "the second is over"}},
      {"ShutdownWithoutAThread", L"embedded",
       kPrechecks + kExport +
           Events{"no thread can be started", "the machine is to shut down without a thread"}},
      {"End", L"tum",
       kPrechecks + Events{"an export is asked for", "the agent is to end during an export",
                           "the export ends with 1 and error", "the services are up",
                           "the agent is to end", "Ctrl+C"}},
      {"EndBeforeAnExport", L"tum", {"the agent is to end", "the second is over"}},
      {"EndWithoutAThread",
       L"tum",
       {"no thread can be started", "the agent is to end without a thread"}},
      {"CtrlC", L"embedded", {"the user logs off", "Ctrl+C"}},
      {"CtrlBreak", L"embedded", {"Ctrl+Break"}},
      {"Close", L"embedded", {"the console is closed"}},
  };
}

}  // namespace

std::span<const Transition> StatusTransitions() { return kTransitions; }

const Transition* FindTransition(std::string_view machine, std::string_view state,
                                 std::string_view event) {
  const auto* const row = std::ranges::find_if(kTransitions, [&](const Transition& transition) {
    return transition.machine == machine && transition.state == state && transition.event == event;
  });
  return row == std::end(kTransitions) ? nullptr : row;
}

StatusStates FirstStates() {
  return {{"prechecks", "NOT_STARTED"}, {"cached prechecks", "none"}, {"export", "NOT_STARTED"},
          {"result", "FAIL"},           {"document", "none"},         {"restart", "idle"},
          {"credentials", "held"},      {"copy of data", "none"},     {"copy of logs", "none"},
          {"agent", "serving"},         {"old machine", "up"}};
}

std::vector<StatusSession> StatusSessions() {
  std::vector<StatusSession> sessions;
  for (const auto& group : {PrecheckSessions(), EndSessions(), ExportSessions(),
                            CredentialSessions(), CopySessions(), EndOfAgentSessions()}) {
    sessions.insert(sessions.end(), group.begin(), group.end());
  }
  return sessions;
}

}  // namespace Halvard::MigratorSvc
