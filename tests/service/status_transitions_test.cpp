// Every move of every status machine is one of the table, and every row of the table is a move that
// is seen: the sessions are run one by one, and followed through the table alone for their rows.
#include <set>

#include "runner/cached_precheck_results.h"
#include "status_machines.h"

namespace Halvard::MigratorSvc {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::string TextOf(const Transition& row) {
  return std::string(row.machine) + ", " + std::string(row.state) + ", " + std::string(row.event);
}

TEST(StatusTransitions, NoEventHasTwoOutcomes) {
  std::set<std::string> rows;
  for (const Transition& row : StatusTransitions()) {
    EXPECT_TRUE(rows.insert(TextOf(row)).second) << TextOf(row);
  }
}

TEST(StatusTransitions, EveryRowIsDrivenByASession) {
  std::set<std::string> driven;
  for (const StatusSession& session : StatusSessions()) {
    StatusStates states = FirstStates();
    for (const std::string_view event : session.events) {
      for (auto& [machine, state] : states) {
        const Transition* const row = FindTransition(machine, state, event);
        if (row == nullptr) continue;
        driven.insert(TextOf(*row));
        state = row->next;
      }
    }
  }
  for (const Transition& row : StatusTransitions()) {
    EXPECT_TRUE(driven.contains(TextOf(row))) << TextOf(row);
  }
}

class StatusMachinesInSession : public StatusMachines,
                                public testing::WithParamInterface<StatusSession> {};

TEST_P(StatusMachinesInSession, MoveAsTheTableSays) { EXPECT_THAT(Run(GetParam()), IsEmpty()); }

INSTANTIATE_TEST_SUITE_P(Sessions, StatusMachinesInSession, testing::ValuesIn(StatusSessions()),
                         [](const auto& row) { return row.param.title; });

/// The three status properties as they are before a call.
struct Phase {
  std::string prechecks;
  std::string exporting;
  std::string result;
};

std::vector<Phase> AllPhases() {
  std::vector<Phase> phases;
  for (const char* prechecks : {"NOT_STARTED", "RUNNING", "FINISHED"}) {
    for (const char* exporting : {"NOT_STARTED", "RUNNING", "FINISHED"}) {
      for (const char* result : {"FAIL", "SUCCESS"})
        phases.push_back({prechecks, exporting, result});
    }
  }
  return phases;
}

class AnyOperation : public StatusMachines, public testing::WithParamInterface<KnownOperation> {
 protected:
  AnyOperation() {
    // No operation gets beyond its first step, and none waits.
    machine_.PlanFault({.function = "CreateThread", .error = ERROR_NOT_ENOUGH_MEMORY});
    machine_.PlanFault({.function = "InitiateShutdownW", .error = 1115});
    gProperties[L"URExtractDirectory"] = L"C:\\nowhere";
    Testing::TheSurroundings().duringZip = nullptr;
    Testing::TheSurroundings().duringCopy = nullptr;
  }

  void Prepare(const Phase& phase) {
    machine_.RemoveFile(L"%TEMP%\\halvard.log");
    gProperties[L"PREUPGRADE_CHECKS_STATUS"] = Utf8ToWide(phase.prechecks);
    gProperties[L"EXPORT_STATUS"] = Utf8ToWide(phase.exporting);
    gProperties[L"EXPORT_RESULT"] = Utf8ToWide(phase.result);
    gProperties[L"SSO_USERNAME"] = L"administrator@ostrel.local";
    gProperties[L"SSO_PASSWORD"] = Testing::kAcceptedPassword;
  }

  /// What the phase is now.
  static Phase Now() {
    return {WideToUtf8(gProperties[L"PREUPGRADE_CHECKS_STATUS"].Value()),
            WideToUtf8(gProperties[L"EXPORT_STATUS"].Value()),
            WideToUtf8(gProperties[L"EXPORT_RESULT"].Value())};
  }

  static bool Is(const wchar_t* operation) { return std::wstring(GetParam().name) == operation; }

  /// Checks that the call has moved nothing but what it is for.
  void ExpectOwnMovesAlone(const Phase& before, bool isGood) {
    const Phase now = Now();
    const bool mayCheck = before.prechecks != "RUNNING" && before.exporting != "RUNNING";
    const bool mayExport = before.prechecks == "FINISHED" && before.exporting != "RUNNING";
    if (isGood && mayCheck && Is(L"InvokePreUpgrade")) {
      EXPECT_THAT(MovesInLog("prechecks"), ElementsAre("RUNNING", "FINISHED"));
      EXPECT_EQ(now.prechecks, "FINISHED");
    } else {
      EXPECT_THAT(MovesInLog("prechecks"), IsEmpty());
      EXPECT_EQ(now.prechecks, before.prechecks);
    }
    if (isGood && mayExport && Is(L"InvokeExport")) {
      EXPECT_THAT(MovesInLog("export"), ElementsAre("RUNNING"));
      EXPECT_EQ(now.exporting, "RUNNING");
    } else {
      EXPECT_THAT(MovesInLog("export"), IsEmpty());
      EXPECT_EQ(now.exporting, before.exporting);
    }
    EXPECT_THAT(MovesInLog("result"), IsEmpty());
    EXPECT_EQ(now.result, before.result);
  }

  void CallIn(const Phase& phase, const std::string& password) {
    SCOPED_TRACE(phase.prechecks + ", " + phase.exporting + ", " + phase.result + ", " + password);
    Prepare(phase);
    Json::Value request = GoodRequest();
    request["sso_password"] = password;
    {
      const Testing::ConsoleCapture console;
      (void)Ask(GetParam().slot, request);
    }
    ExpectOwnMovesAlone(phase, password == AcceptedPassword());
  }
};

TEST_P(AnyOperation, MovesItsOwnStatusAloneInWhateverPhase) {
  for (const Phase& phase : AllPhases()) {
    for (const std::string& password : {AcceptedPassword(), std::string("wrong"), std::string()}) {
      CallIn(phase, password);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Operations, AnyOperation, testing::ValuesIn(kOperations),
                         [](const auto& row) { return WideToUtf8(row.param.name); });

}  // namespace
}  // namespace Halvard::MigratorSvc
