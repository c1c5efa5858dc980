#include "runner/process_monitor.h"

#include <json/reader.h>

#include <string>
#include <vector>

#include "machine/machine.h"
#include "machine/text.h"
#include "runner_test.h"
#include "support/machine_processes.h"

namespace Halvard::Runner {
namespace {

using testing::Contains;
using testing::ElementsAre;
using Testing::ErrorLine;
using Testing::InfoLine;
using testing::IsEmpty;
using Testing::LogLine;
using testing::Not;
using Testing::WarningLine;

const std::wstring kStatusFile = L"C:\\Status \u00e4\u8a66 \U0001D4BD\\status.json";

class ProcessMonitor : public RunnerTest {
 protected:
  ~ProcessMonitor() override { EXPECT_THAT(Lab::ProcessesOf(machine_), IsEmpty()); }

  static bool Run(const std::wstring& orders) {
    return LaunchProcAndMonitorStatus(ChildLine(orders).c_str());
  }

  /// \return What a child with "report" has written.
  Json::Value Report(const std::wstring& file) const {
    Json::Value report;
    EXPECT_TRUE(Json::Reader().parse(machine_.ReadFile(file).value_or(""), report));
    return report;
  }

  static int FinalSuccess(void*, const wchar_t*) { return ParseFinalSuccess; }
};

const LogLine kJobAlive = WarningLine(L"LaunchProcAndMonitorStatus: Job still alive, terminating");
const LogLine kMonitoringFailed =
    ErrorLine(L"LaunchProcAndMonitorStatus: Failure detected while monitoring status file");

TEST_F(ProcessMonitor, LogsEachStepOfASuccess) {
  const std::wstring line = ChildLine(L"exit=0");
  EXPECT_TRUE(LaunchProcAndMonitorStatus(line.c_str()));
  EXPECT_THAT(
      LogWithoutIds(),
      ElementsAre(
          InfoLine(L"LaunchProcAndMonitorStatus: Launching \"" + line + L"\" in \"" +
                   kProgramFolder + L"\""),
          InfoLine(L"LaunchProcAndMonitorStatus: Launched process with pid N tid N"),
          InfoLine(L"MonitorStatusFile: Started execution of process"),
          InfoLine(L"MonitorStatusFile: Other process terminated with 0, exiting"),
          InfoLine(
              L"MonitorStatusFile: Process exited with a '0' exit code; no status monitoring so assuming success"),
          InfoLine(L"MonitorStatusFile: called parse callback 0 times"),
          InfoLine(L"MonitorStatusFile: No need to wait for process to complete"),
          InfoLine(L"MonitorStatusFile: Process's job tree still hasn't terminated, waiting"),
          InfoLine(L"MonitorStatusFile: Wait on process's job tree has completed: 0"), kJobAlive));
  EXPECT_THAT(NewHandles(), IsEmpty());
}

struct FailingExit {
  const wchar_t* code;
  const wchar_t* logged;
};

class ExitCode : public ProcessMonitor, public testing::WithParamInterface<FailingExit> {};

TEST_P(ExitCode, OtherThanZeroIsAFailure) {
  EXPECT_FALSE(Run(std::wstring(L"exit=") + GetParam().code));
  const std::vector<LogLine> log = LogWithoutIds();
  EXPECT_THAT(log,
              Contains(InfoLine(std::wstring(L"MonitorStatusFile: Other process terminated with ") +
                                GetParam().logged + L", exiting")));
  EXPECT_THAT(
      log,
      Contains(ErrorLine(
          L"MonitorStatusFile: Process exited with a non-zero exit code; no status monitoring so assuming failure")));
  EXPECT_EQ(log[log.size() - 2], kMonitoringFailed);
  EXPECT_EQ(log.back(), kJobAlive);
}

INSTANTIATE_TEST_SUITE_P(Codes, ExitCode,
                         testing::Values(FailingExit{L"1", L"1"}, FailingExit{L"256", L"256"},
                                         FailingExit{L"259", L"259"}, FailingExit{L"1603", L"1603"},
                                         FailingExit{L"4294967295", L"-1"}));

TEST_F(ProcessMonitor, AnExitCodeThatCantBeReadCountsAsZero) {
  machine_.PlanFault({.function = "GetExitCodeProcess", .error = 6});
  EXPECT_TRUE(Run(L"exit=7"));
  EXPECT_THAT(LogWithoutIds(),
              Contains(ErrorLine(
                  L"MonitorStatusFile: Other process terminated, failed to get exit code: 6")));
}

TEST_F(ProcessMonitor, AQuotedProgramRunsInItsFolder) {
  EXPECT_TRUE(Run(L"report=C:\\report.json"));
  EXPECT_EQ(Report(L"C:\\report.json")["folder"].asString(),
            machine_.HostPath(kProgramFolder).string());
}

TEST_F(ProcessMonitor, AnUnquotedProgramEndsAtTheFirstBlank) {
  machine_.WriteFile(L"C:\\Tools\\python.exe", "");
  EXPECT_TRUE(LaunchProcAndMonitorStatus(
      (L"C:\\Tools\\python.exe \"" + kProgramFolder + L"child.py\" report=C:\\report.json")
          .c_str()));
  EXPECT_EQ(Report(L"C:\\report.json")["folder"].asString(),
            machine_.HostPath(L"C:\\Tools").string());
}

TEST_F(ProcessMonitor, AnUnquotedProgramMayBeTheWholeLine) {
  machine_.WriteFile(L"C:\\Tools\\true.exe", "#!/bin/true\n");
  EXPECT_TRUE(LaunchProcAndMonitorStatus(L"C:\\Tools\\true.exe"));
  EXPECT_THAT(LogWithoutIds(),
              Contains(InfoLine(L"LaunchProcAndMonitorStatus: Launching \"C:\\Tools\\true.exe\" in "
                                L"\"C:\\Tools\\\"")));
}

TEST_F(ProcessMonitor, AProgramWithoutAFolderIsRefusedBeforeAnythingStarts) {
  EXPECT_FALSE(LaunchProcAndMonitorStatus(L"cmd"));
  EXPECT_THAT(LogWithoutIds(),
              ElementsAre(ErrorLine(
                  L"LaunchProcAndMonitorStatus: Failed to find directory part of \"cmd\"")));
  EXPECT_EQ(Lab::TheMachine().Faults().Calls("CreateProcessW"), 0u);
  EXPECT_EQ(Lab::TheMachine().Faults().Calls("OpenProcessToken"), 0u);
}

TEST_F(ProcessMonitor, OnlyTheProgramsPathIsSearchedForAFolder) {
  EXPECT_FALSE(LaunchProcAndMonitorStatus(L"cmd /c C:\\Tools\\x.bat"));
  EXPECT_FALSE(LaunchProcAndMonitorStatus(L"\"cmd\" C:\\x"));
  EXPECT_THAT(
      LogWithoutIds(),
      Contains(ErrorLine(L"LaunchProcAndMonitorStatus: Failed to find directory part of \"cmd\""))
          .Times(2));
}

TEST_F(ProcessMonitor, AMissingSecondQuoteIsRefused) {
  EXPECT_FALSE(LaunchProcAndMonitorStatus(L"\"C:\\Tools\\python.exe"));
  EXPECT_THAT(
      LogWithoutIds(),
      ElementsAre(ErrorLine(
          L"LaunchProcAndMonitorStatus: Failed to find second quote in \"\"C:\\Tools\\python.exe\"")));
}

TEST_F(ProcessMonitor, ACommandLineThatCantBeCopiedIsRefused) {
  machine_.PlanFault({.function = "_wcsdup", .error = 8});
  EXPECT_FALSE(Run(L"exit=0"));
  EXPECT_THAT(LogWithoutIds(),
              ElementsAre(ErrorLine(L"LaunchProcAndMonitorStatus: Failed to dup cmd-line")));
}

TEST_F(ProcessMonitor, AMissingProgramIsAFailure) {
  EXPECT_FALSE(LaunchProcAndMonitorStatus(L"C:\\none.exe x"));
  EXPECT_THAT(
      LogWithoutIds(),
      ElementsAre(
          InfoLine(L"LaunchProcAndMonitorStatus: Launching \"C:\\none.exe x\" in \"C:\\\""),
          ErrorLine(
              L"LaunchProcAndMonitorStatus: Failed to create requested proc \"C:\\none.exe x\": 2"),
          kJobAlive));
  EXPECT_THAT(NewHandles(), IsEmpty());
}

struct FailingStep {
  const char* function;
  const wchar_t* line;
  bool hasJob;
};

class StepBeforeTheStart : public ProcessMonitor,
                           public testing::WithParamInterface<FailingStep> {};

TEST_P(StepBeforeTheStart, FailsWithItsLineAndStartsNothing) {
  machine_.PlanFault({.function = GetParam().function, .error = 5});
  EXPECT_FALSE(Run(L"report=C:\\report.json"));
  const std::vector<LogLine> log = LogWithoutIds();
  EXPECT_THAT(log, Contains(ErrorLine(GetParam().line)));
  EXPECT_EQ(log.back() == kJobAlive, GetParam().hasJob);
  EXPECT_FALSE(machine_.FileExists(L"C:\\report.json"));
  EXPECT_THAT(NewHandles(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Steps, StepBeforeTheStart,
    testing::Values(
        FailingStep{"OpenProcessToken", L"LaunchProcAndMonitorStatus: Failed to get user token: 5",
                    false},
        FailingStep{"CreateEnvironmentBlock",
                    L"LaunchProcAndMonitorStatus: Failed to create environment: 5", false},
        FailingStep{"CreateJobObjectW", L"LaunchProcAndMonitorStatus: Failed to create job: 5",
                    false},
        FailingStep{"AssignProcessToJobObject",
                    L"LaunchProcAndMonitorStatus: Unable to add process to job object: 5", true},
        FailingStep{"ResumeThread", L"MonitorStatusFile: Failed to resume thread: 5", true}),
    [](const auto& row) { return row.param.function; });

TEST_F(ProcessMonitor, ARefusedBreakawayIsTheErrorOfTheCreation) {
  machine_.PlanFault({.function = "CreateProcessW", .error = 5});
  const std::wstring line = ChildLine(L"exit=0");
  EXPECT_FALSE(LaunchProcAndMonitorStatus(line.c_str()));
  EXPECT_THAT(LogWithoutIds(),
              Contains(ErrorLine(L"LaunchProcAndMonitorStatus: Failed to create requested proc \"" +
                                 line + L"\": 5")));
}

TEST_F(ProcessMonitor, AChildThatCantJoinTheJobIsEnded) {
  machine_.PlanFault({.function = "AssignProcessToJobObject", .error = 5});
  EXPECT_FALSE(Run(L"hang"));
  const std::vector<LogLine> log = LogWithoutIds();
  EXPECT_THAT(log, Not(Contains(kMonitoringFailed)));
  EXPECT_THAT(log, Not(Contains(InfoLine(L"MonitorStatusFile: Started execution of process"))));
}

TEST_F(ProcessMonitor, AChildThatCantBeEndedAtOnceIsEndedByTheCleanUp) {
  machine_.PlanFault({.function = "AssignProcessToJobObject", .error = 5});
  machine_.PlanFault({.function = "TerminateProcess", .call = 1, .error = 31});
  EXPECT_FALSE(Run(L"hang"));
  EXPECT_THAT(
      LogWithoutIds(),
      testing::IsSupersetOf(
          {InfoLine(L"LaunchProcAndMonitorStatus: Unable to terminate process: 31"),
           ErrorLine(L"LaunchProcAndMonitorStatus: Process still alive, terminating"), kJobAlive}));
  EXPECT_EQ(Lab::TheMachine().Faults().Calls("TerminateProcess"), 2u);
}

TEST_F(ProcessMonitor, AChildThatCouldNotBeResumedIsEndedByTheCleanUp) {
  machine_.PlanFault({.function = "ResumeThread", .error = 6});
  EXPECT_FALSE(Run(L"hang"));
  std::vector<LogLine> log = LogWithoutIds();
  log.erase(log.begin(), log.begin() + 2);
  EXPECT_THAT(
      log,
      ElementsAre(
          ErrorLine(L"MonitorStatusFile: Failed to resume thread: 6"),
          InfoLine(L"MonitorStatusFile: called parse callback 0 times"),
          InfoLine(L"MonitorStatusFile: No need to wait for process to complete"),
          InfoLine(L"MonitorStatusFile: No need to wait for process's job tree to complete"),
          kMonitoringFailed,
          ErrorLine(L"LaunchProcAndMonitorStatus: Process still alive, terminating"), kJobAlive));
}

TEST_F(ProcessMonitor, AnEnvironmentThatCantBeFreedIsOnlyLogged) {
  machine_.PlanFault({.function = "DestroyEnvironmentBlock", .error = 87});
  EXPECT_TRUE(Run(L"exit=0"));
  const std::vector<LogLine> log = LogWithoutIds();
  EXPECT_EQ(log[log.size() - 2],
            InfoLine(L"LaunchProcAndMonitorStatus: Failed to destory environment: 87"));
}

TEST_F(ProcessMonitor, EndsWhatTheChildHasLeftBehindAfterTheChildsEnd) {
  EXPECT_TRUE(Run(L"leave=C:\\one.txt leave=C:\\two.txt exit=0"));
  EXPECT_TRUE(machine_.FileExists(L"C:\\one.txt"));
  EXPECT_TRUE(machine_.FileExists(L"C:\\two.txt"));
  EXPECT_THAT(Lab::ProcessesOf(machine_), IsEmpty());
}

TEST_F(ProcessMonitor, TheChildInheritsNoHandle) {
  const int ours = ::dup(1);
  EXPECT_TRUE(Run(L"report=C:\\report.json"));
  ::close(ours);
  const Json::Value report = Report(L"C:\\report.json");
  EXPECT_EQ(report["descriptors"].size(), 3u) << report["descriptors"].toStyledString();
  EXPECT_EQ(report["standardOutput"].asString(), "/dev/null");
}

TEST_F(ProcessMonitor, TheChildHasTheUsersEnvironmentAndNotOurs) {
  machine_.SetVariable(L"ONLY_THE_AGENTS", L"x");
  machine_.SetSystemVariable(L"THE_SYSTEMS", L"\u00e4\u8a66 \U0001D4BD");
  EXPECT_TRUE(Run(L"report=C:\\report.json"));
  const Json::Value environment = Report(L"C:\\report.json")["environment"];
  EXPECT_FALSE(environment.isMember("ONLY_THE_AGENTS"));
  EXPECT_FALSE(environment.isMember("PATH"));
  EXPECT_EQ(environment["THE_SYSTEMS"].asString(), Lab::ToUtf8(L"\u00e4\u8a66 \U0001D4BD"));
  EXPECT_EQ(environment["TEMP"].asString(),
            Lab::ToUtf8(std::wstring(Lab::Instance::kProfile) + L"\\AppData\\Local\\Temp"));
}

class OldStatusFile : public ProcessMonitor {
 protected:
  OldStatusFile() { machine_.MakeFolder(L"C:\\Status \u00e4\u8a66 \U0001D4BD"); }

  bool Launch() {
    return LaunchProcAndMonitorStatus(ChildLine(L"exit=0").c_str(), kStatusFile.c_str(),
                                      FinalSuccess, nullptr);
  }
};

TEST_F(OldStatusFile, IsDeletedFirst) {
  machine_.WriteFile(kStatusFile, "old");
  EXPECT_TRUE(Launch());
  EXPECT_EQ(LogWithoutIds().front(),
            InfoLine(L"LaunchProcAndMonitorStatus: Deleted status file \"" + kStatusFile + L"\""));
  EXPECT_FALSE(machine_.FileExists(kStatusFile));
}

TEST_F(OldStatusFile, MayBeMissingInSilence) {
  EXPECT_TRUE(Launch());
  EXPECT_THAT(LogWithoutIds().front().message,
              testing::StartsWith(L"LaunchProcAndMonitorStatus: Launching"));
}

TEST_F(OldStatusFile, ThatCantBeDeletedIsLoggedAndNoMore) {
  machine_.PlanFault({.function = "DeleteFileW", .error = 32});
  EXPECT_TRUE(Launch());
  EXPECT_EQ(LogWithoutIds().front(),
            ErrorLine(L"LaunchProcAndMonitorStatus: Failed to delete status file \"" + kStatusFile +
                      L"\": 32"));
}

/// Each function that a run calls, but those whose failure is told otherwise above.
class AnyFailure : public ProcessMonitor, public testing::WithParamInterface<const char*> {};

TEST_P(AnyFailure, LeavesNoProcessAndNoHandleBehind) {
  machine_.MakeFolder(L"C:\\Status \u00e4\u8a66 \U0001D4BD");
  for (std::uint32_t call = 1; call < 20; ++call) {
    machine_.Set("/faults", Json::Value(Json::arrayValue));
    machine_.PlanFault({.function = GetParam(), .call = call, .error = 5});
    LaunchProcAndMonitorStatus(
        ChildLine(L"leave=C:\\left.txt write=\"" + kStatusFile + L":{}\" exit=0").c_str(),
        kStatusFile.c_str(), FinalSuccess, nullptr);
    EXPECT_THAT(Lab::ProcessesOf(machine_), IsEmpty()) << GetParam() << " " << call;
    // The event of a watch stays open by design.
    std::vector<std::string> handles = NewHandles();
    std::erase(handles, "Event");
    EXPECT_THAT(handles, IsEmpty()) << GetParam() << " " << call;
    if (Lab::TheMachine().Faults().Calls(GetParam()) < call) return;
  }
}

INSTANTIATE_TEST_SUITE_P(
    Functions, AnyFailure,
    testing::Values("_wcsdup", "DeleteFileW", "OpenProcessToken", "CreateEnvironmentBlock",
                    "DestroyEnvironmentBlock", "CreateJobObjectW", "CreateProcessW",
                    "AssignProcessToJobObject", "ResumeThread", "WaitForSingleObject",
                    "WaitForMultipleObjectsEx", "GetExitCodeProcess", "CreateEventW", "ResetEvent",
                    "ReadDirectoryChangesW", "GetOverlappedResult"),
    [](const auto& row) { return std::string(row.param).substr(row.param[0] == '_' ? 1 : 0); });

}  // namespace
}  // namespace Halvard::Runner
