// Runs with a status file and a callback that judges it.
#include "runner/status_file_monitor.h"

#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "machine/machine.h"
#include "runner/process_monitor.h"
#include "runner_test.h"
#include "support/machine_processes.h"

namespace Halvard::Runner {
namespace {

using testing::Contains;
using Testing::ErrorLine;
using Testing::InfoLine;
using testing::IsEmpty;
using testing::IsSupersetOf;
using Testing::LogLine;
using testing::Not;

const std::wstring kFolder = L"C:\\Status \u00e4\u8a66 \U0001D4BD";
const std::wstring kFile = kFolder + L"\\status.json";

class StatusFileMonitor : public RunnerTest {
 protected:
  StatusFileMonitor() { machine_.MakeFolder(kFolder); }
  ~StatusFileMonitor() override { EXPECT_THAT(Lab::ProcessesOf(machine_), IsEmpty()); }

  /// What the callback is to make of the file's text; null for a missing file.
  using Judge = std::function<int(const std::string* text)>;

  bool Run(const std::wstring& orders, const Judge& judge, const std::wstring& file = kFile) {
    judge_ = judge;
    return LaunchProcAndMonitorStatus(ChildLine(orders).c_str(), file.c_str(), Parse, this);
  }

  static int Parse(void* context, const wchar_t* path) {
    auto& self = *static_cast<StatusFileMonitor*>(context);
    EXPECT_EQ(path, kFile);
    ++self.calls_;
    const auto text = self.machine_.ReadFile(path);
    return self.judge_(text ? &*text : nullptr);
  }

  static Judge Always(int result) {
    return [result](const std::string*) { return result; };
  }

  /// Lets the child go on.
  void Touch(const std::wstring& file) { machine_.WriteFile(file, ""); }

  Judge judge_;
  int calls_ = 0;
};

std::wstring Write(const std::wstring& text) { return L"\"write=" + kFile + L":" + text + L"\" "; }

TEST_F(StatusFileMonitor, TellsWhatItWatches) {
  EXPECT_TRUE(Run(L"exit=0", Always(ParseFinalSuccess)));
  EXPECT_THAT(
      LogWithoutIds(),
      IsSupersetOf({InfoLine(L"MonitorStatusFile: Status file directory is \"" + kFolder + L"\\\""),
                    InfoLine(L"MonitorStatusFile: Monitoring directory \"" + kFolder +
                             L"\\\" for file \"status.json\"")}));
}

TEST_F(StatusFileMonitor, CallsBackForEachChangeAndOnceMoreAtTheEnd) {
  const bool success = Run(Write(L"one") + L"wait=C:\\go " + Write(L"two") + L"exit=5",
                           [&](const std::string* text) {
                             if (text != nullptr && *text == "one") Touch(L"C:\\go");
                             return ParseContinue;
                           });
  EXPECT_FALSE(success);
  EXPECT_GE(calls_, 2);
  EXPECT_THAT(
      LogWithoutIds(),
      IsSupersetOf(
          {InfoLine(L"MonitorStatusFile: Calling status parser one last time"),
           ErrorLine(L"MonitorStatusFile: Final parse callback didn't provide final result"),
           ErrorLine(L"MonitorStatusFile: Don't know final status, assuming failure"),
           InfoLine(L"MonitorStatusFile: called parse callback " + std::to_wstring(calls_) +
                    L" times")}));
}

TEST_F(StatusFileMonitor, LastCallDecidesWhateverTheExitCode) {
  EXPECT_TRUE(Run(L"exit=1", Always(ParseFinalSuccess)));
  EXPECT_THAT(
      LogWithoutIds(),
      IsSupersetOf({InfoLine(L"MonitorStatusFile: Other process terminated with 1, exiting"),
                    InfoLine(L"MonitorStatusFile: Final Parse callback gave result: 293"),
                    InfoLine(L"MonitorStatusFile: Final status result: 1")}));
  EXPECT_FALSE(Run(L"exit=0", Always(ParseFinalFailure)));
  EXPECT_THAT(LogWithoutIds(),
              IsSupersetOf({InfoLine(L"MonitorStatusFile: Final Parse callback gave result: 294"),
                            InfoLine(L"MonitorStatusFile: Final status result: 0")}));
}

class LastAnswer : public StatusFileMonitor, public testing::WithParamInterface<int> {};

TEST_P(LastAnswer, ThatIsNotFinalIsAFailure) {
  EXPECT_FALSE(Run(L"exit=0", Always(GetParam())));
  EXPECT_EQ(calls_, 1);
  EXPECT_THAT(
      LogWithoutIds(),
      IsSupersetOf(
          {ErrorLine(L"MonitorStatusFile: Final parse callback didn't provide final result"),
           ErrorLine(L"MonitorStatusFile: Don't know final status, assuming failure")}));
}

INSTANTIATE_TEST_SUITE_P(Codes, LastAnswer, testing::Values(291, 292, 295, 0));

struct FinalAnswer {
  int result;
  bool success;
};

class AnswerInTheLoop : public StatusFileMonitor,
                        public testing::WithParamInterface<FinalAnswer> {};

TEST_P(AnswerInTheLoop, IsFinalButTheChildEndsByItself) {
  const auto& [result, success] = GetParam();
  // The child goes on only after the callback has answered, and its end isn't ours to bring.
  EXPECT_EQ(Run(Write(L"done") + L"wait=C:\\go leave=C:\\late.txt exit=9",
                [&, answer = result](const std::string*) {
                  Touch(L"C:\\go");
                  return answer;
                }),
            success);
  EXPECT_EQ(calls_, 1);
  EXPECT_TRUE(machine_.FileExists(L"C:\\late.txt"));
  EXPECT_THAT(LogWithoutIds(),
              IsSupersetOf(
                  {InfoLine(std::wstring(L"MonitorStatusFile: Parse callback gave final result: ") +
                            (success ? L"1" : L"0")),
                   InfoLine(L"MonitorStatusFile: called parse callback 1 times"),
                   InfoLine(L"MonitorStatusFile: Process still hasn't terminated, waiting"),
                   InfoLine(L"MonitorStatusFile: Wait on process has completed: 0")}));
}

INSTANTIATE_TEST_SUITE_P(Codes, AnswerInTheLoop,
                         testing::Values(FinalAnswer{293, true}, FinalAnswer{294, false},
                                         FinalAnswer{295, false}, FinalAnswer{0, false},
                                         FinalAnswer{1, false}));

TEST_F(StatusFileMonitor, ACallbackThatStopsTheCallsLeavesTheOutcomeUnknown) {
  EXPECT_FALSE(
      Run(Write(L"x") + L"wait=C:\\go " + Write(L"y") + L"exit=0", [&](const std::string*) {
        Touch(L"C:\\go");
        return ParseDisable;
      }));
  EXPECT_EQ(calls_, 1);
  const std::vector<LogLine> log = LogWithoutIds();
  EXPECT_THAT(
      log,
      IsSupersetOf({ErrorLine(L"MonitorStatusFile: Parse callback disabled future calls"),
                    InfoLine(L"MonitorStatusFile: Other process terminated with 0, exiting"),
                    ErrorLine(L"MonitorStatusFile: Don't know final status, assuming failure")}));
  EXPECT_THAT(log,
              Not(Contains(InfoLine(L"MonitorStatusFile: Calling status parser one last time"))));
}

TEST_F(StatusFileMonitor, OtherFilesDontCount) {
  EXPECT_TRUE(Run(
      L"\"write=" + kFolder + L"\\status.jsonx:x\" \"report=" + kFolder + L"\\other.txt\" exit=0",
      Always(ParseFinalSuccess)));
  EXPECT_EQ(calls_, 1);
}

TEST_F(StatusFileMonitor, ARenamingToTheNameCounts) {
  EXPECT_TRUE(Run(L"\"report=" + kFile + L"\" wait=C:\\go exit=0", [&](const std::string*) {
    Touch(L"C:\\go");
    return ParseFinalSuccess;
  }));
  EXPECT_THAT(LogWithoutIds(),
              Contains(InfoLine(L"MonitorStatusFile: Parse callback gave final result: 1")));
}

TEST_F(StatusFileMonitor, ChangesThatOverflowTheBufferCountAsAChange) {
  bool littered = false;
  // While the first call lasts, the child makes more changes than the buffer has room for.
  EXPECT_TRUE(Run(Write(L"x") + L"wait=C:\\called \"litter=" + kFolder +
                      L"\" \"report=C:\\littered\" wait=C:\\go",
                  [&](const std::string*) {
                    if (!littered) {
                      Touch(L"C:\\called");
                      while (!machine_.FileExists(L"C:\\littered")) Sleep(1);
                      littered = true;
                      return ParseContinue;
                    }
                    Touch(L"C:\\go");
                    return ParseFinalSuccess;
                  }));
  EXPECT_THAT(LogWithoutIds(),
              Contains(InfoLine(
                  L"MonitorStatusFile: Status file directory has 0 events, assuming changed")));
  EXPECT_EQ(calls_, 2);
}

TEST_F(StatusFileMonitor, AnOverflowThatIsReportedAsAFailureIsOneAllTheSame) {
  machine_.PlanFault({.function = "GetOverlappedResult", .call = 1, .error = 1022});
  EXPECT_TRUE(Run(Write(L"x") + L"wait=C:\\go", [&](const std::string*) {
    Touch(L"C:\\go");
    return ParseFinalSuccess;
  }));
  EXPECT_THAT(LogWithoutIds(),
              Contains(InfoLine(
                  L"MonitorStatusFile: Status file directory has 0 events, assuming changed")));
}

TEST_F(StatusFileMonitor, AChangeThatCantBeReadIsAFailure) {
  machine_.PlanFault({.function = "GetOverlappedResult", .error = 5});
  // No callback tells when the child may end, so another thread looks for the failing call.
  std::thread watcher([this] {
    while (Lab::TheMachine().Faults().Calls("GetOverlappedResult") == 0) Sleep(1);
    Touch(L"C:\\go");
  });
  EXPECT_FALSE(Run(Write(L"x") + L"wait=C:\\go exit=0", Always(ParseFinalSuccess)));
  watcher.join();
  EXPECT_EQ(calls_, 0);
  EXPECT_THAT(
      LogWithoutIds(),
      Contains(ErrorLine(L"MonitorStatusFile: Get result failed for status file directory: 0 5")));
}

TEST_F(StatusFileMonitor, AWatchThatCantGoOnIsAFailure) {
  machine_.PlanFault({.function = "ReadDirectoryChangesW", .call = 2, .error = 6});
  EXPECT_FALSE(Run(Write(L"x") + L"wait=C:\\go exit=0", [&](const std::string*) {
    Touch(L"C:\\go");
    return ParseContinue;
  }));
  EXPECT_THAT(LogWithoutIds(),
              Contains(ErrorLine(L"MonitorStatusFile: Failed to re-read directory changes: 6")));
}

class SetUp : public StatusFileMonitor {
 protected:
  /// The child isn't resumed, and the clean-up ends it.
  void ExpectFailure(const std::wstring& line, const std::wstring& file = kFile) {
    EXPECT_FALSE(Run(L"hang", Always(ParseFinalSuccess), file));
    EXPECT_EQ(calls_, 0);
    const std::vector<LogLine> log = LogWithoutIds();
    EXPECT_THAT(log,
                IsSupersetOf(
                    {ErrorLine(line), InfoLine(L"MonitorStatusFile: called parse callback 0 times"),
                     InfoLine(L"MonitorStatusFile: No need to wait for process to complete"),
                     ErrorLine(L"LaunchProcAndMonitorStatus: Process still alive, terminating")}));
    EXPECT_THAT(log, Not(Contains(InfoLine(L"MonitorStatusFile: Started execution of process"))));
  }
};

TEST_F(SetUp, NeedsABackslashInThePath) {
  ExpectFailure(L"MonitorStatusFile: Status monitor failed to parse file path \"status.json\"",
                L"status.json");
}

TEST_F(SetUp, NeedsAnEvent) {
  machine_.PlanFault({.function = "CreateEventW", .error = 8});
  ExpectFailure(L"MonitorStatusFile: Failed to create event: 8");
}

TEST_F(SetUp, NeedsTheFolder) {
  ExpectFailure(
      L"MonitorStatusFile: Failed to open status file directory \"C:\\none\\deeper\\\": 3",
      L"C:\\none\\deeper\\status.json");
}

TEST_F(SetUp, NeedsAWatch) {
  machine_.PlanFault({.function = "ReadDirectoryChangesW", .call = 1, .error = 1});
  ExpectFailure(L"MonitorStatusFile: Failed to read directory changes in \"" + kFolder +
                L"\\\": 1");
}

TEST_F(StatusFileMonitor, AFileWithoutACallbackIsNotWatched) {
  EXPECT_TRUE(
      LaunchProcAndMonitorStatus(ChildLine(L"exit=0").c_str(), kFile.c_str(), nullptr, nullptr));
  EXPECT_EQ(Lab::TheMachine().Faults().Calls("ReadDirectoryChangesW"), 0u);
}

TEST_F(StatusFileMonitor, ACallbackWithoutAFileIsNeverCalled) {
  judge_ = Always(ParseFinalSuccess);
  EXPECT_FALSE(LaunchProcAndMonitorStatus(ChildLine(L"exit=0").c_str(), nullptr, Parse, this));
  EXPECT_EQ(calls_, 0);
  EXPECT_THAT(LogWithoutIds(),
              Contains(ErrorLine(L"MonitorStatusFile: Don't know final status, assuming failure")));
}

struct WaitResult {
  std::uint32_t code;
  LogLine line;
  bool success;
};

class ResultOfTheWait : public StatusFileMonitor, public testing::WithParamInterface<WaitResult> {};

TEST_P(ResultOfTheWait, HasItsLine) {
  machine_.PlanFault({.function = "WaitForMultipleObjectsEx", .call = 1, .error = GetParam().code});
  EXPECT_EQ(LaunchProcAndMonitorStatus(ChildLine(L"exit=0").c_str()), GetParam().success);
  EXPECT_THAT(LogWithoutIds(), Contains(GetParam().line));
}

INSTANTIATE_TEST_SUITE_P(
    Codes, ResultOfTheWait,
    testing::Values(WaitResult{128, ErrorLine(L"MonitorStatusFile: wait aborted on 0"), true},
                    WaitResult{192, InfoLine(L"MonitorStatusFile: wait io completion"), true},
                    WaitResult{258, ErrorLine(L"MonitorStatusFile: Wait timed out"), false},
                    WaitResult{6, ErrorLine(L"MonitorStatusFile: Unexpected failed: 6"), false}),
    [](const auto& row) { return std::to_string(row.param.code); });

TEST_F(StatusFileMonitor, AnyOtherResultOfTheWaitIsAFailure) {
  machine_.PlanFault({.function = "WaitForMultipleObjectsEx", .call = 1, .error = 130});
  EXPECT_FALSE(LaunchProcAndMonitorStatus(ChildLine(L"exit=0").c_str()));
  EXPECT_THAT(LogWithoutIds(),
              Contains(testing::Field(
                  &LogLine::message,
                  testing::StartsWith(L"MonitorStatusFile: Unexpected wait result: 130 "))));
}

TEST_F(StatusFileMonitor, AFailedWaitStillWaitsForTheChild) {
  machine_.PlanFault({.function = "WaitForMultipleObjectsEx", .call = 1, .error = 6});
  EXPECT_FALSE(LaunchProcAndMonitorStatus(ChildLine(L"report=C:\\report.json exit=0").c_str()));
  EXPECT_TRUE(machine_.FileExists(L"C:\\report.json"));
}

TEST_F(StatusFileMonitor, AJobThatIsSignalledNeedsNoWait) {
  // The second zero wait, after that on the process, is the one on the job.
  machine_.PlanFault({.function = "WaitForSingleObject", .call = 2, .error = 6});
  EXPECT_TRUE(LaunchProcAndMonitorStatus(ChildLine(L"exit=0").c_str()));
  EXPECT_THAT(
      LogWithoutIds(),
      Contains(InfoLine(L"MonitorStatusFile: No need to wait for process's job tree to complete")));
}

TEST_F(StatusFileMonitor, LeavesItsEventOpen) {
  EXPECT_TRUE(Run(L"exit=0", Always(ParseFinalSuccess)));
  EXPECT_THAT(NewHandles(), testing::ElementsAre("Event"));
}

}  // namespace
}  // namespace Halvard::Runner
