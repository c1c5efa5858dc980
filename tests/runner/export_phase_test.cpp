#include "runner/export_phase.h"

#include <atomic>
#include <future>
#include <optional>

#include "core/export_state.h"
#include "export_test.h"
#include "machine/machine.h"
#include "runner/export_output.h"

namespace Halvard::Runner {
namespace {

using testing::ElementsAre;
using Testing::ErrorLine;
using Testing::InfoLine;
using testing::IsEmpty;
using Testing::LogLine;
using testing::StrEq;
using Testing::WarningLine;

const LogLine kRunning =
    InfoLine(L"LaunchUpgradeRunnerExportPhase: Changed the status of export to: RUNNING");
const LogLine kFinished =
    InfoLine(L"LaunchUpgradeRunnerExport: Changed the status of export to: FINISHED");

LogLine ResultLine(const std::wstring& result) {
  return InfoLine(L"LaunchUpgradeRunnerExport: Changing the status of export result to: " + result);
}

/// How a runner ends: its exit code, and the document that it leaves; none without a text.
struct Ending {
  const char* title;
  int code;
  std::optional<std::string> output;
  /// The result that is written; without one it stays what it was.
  std::optional<std::wstring> result;
};

const Ending kEndings[] = {
    {"GoodWithSuccess", 0, R"({"status": "success"})", L"SUCCESS"},
    {"GoodWithError", 0, R"({"status": "error"})", {}},
    {"GoodWhileRunning", 0, R"({"status": "running", "progress": 99})", {}},
    {"GoodWithSuccessInOtherCase", 0, R"({"status": "Success"})", {}},
    {"GoodWithoutStatus", 0, "{}", {}},
    {"GoodWithoutOutput", 0, {}, {}},
    {"GoodWithEmptyOutput", 0, "", {}},
    {"GoodWithArray", 0, R"(["status", "success"])", {}},
    {"GoodWithText", 0, R"("success")", {}},
    {"GoodWithNull", 0, "null", {}},
    {"GoodWithListAsStatus", 0, R"({"status": ["success"]})", {}},
    {"GoodWithNumberAsStatus", 0, R"({"status": 0})", {}},
    {"GoodAndCutBehindTheStatus", 0, R"({"status": "success", "files": [)", L"SUCCESS"},
    {"GoodAndCutBeforeTheStatus", 0, R"({"files": [1, 2], "sta)", {}},
    {"FailedWithError", 1, R"({"status": "error"})", L"FAIL"},
    {"FailedWithSuccess", 1, R"({"status": "success"})", {}},
    {"FailedWhileRunning", 1, R"({"status": "running"})", {}},
    {"FailedWithoutOutput", 1, {}, {}},
    {"FailedWithArray", 1, R"([{"status": "error"}])", {}},
    {"FailedAndCutBehindTheStatus", 1, R"({"status": "error", "text": ")", L"FAIL"},
};

class ExportEnding : public ExportTest,
                     public testing::WithParamInterface<std::tuple<Ending, std::wstring>> {};

TEST_P(ExportEnding, DecidesResultAndRestartByCodeAndDocumentTogether) {
  const auto& [ending, before] = GetParam();
  gProperties[L"EXPORT_RESULT"] = before;
  if (ending.output) {
    runner_.OrderExport({Step("write", *ending.output), Step("exit", ending.code)});
  } else {
    runner_.OrderExport({Step("exit", ending.code)});
  }
  EXPECT_EQ(LaunchUpgradeRunnerExport(nullptr), ending.code == 0 ? 0u : 1603u);
  AwaitThreads();
  EXPECT_EQ(Status(), L"FINISHED");
  EXPECT_EQ(Result(), ending.result.value_or(before));
  std::vector<LogLine> expected{kFinished};
  if (ending.result) expected.push_back(ResultLine(*ending.result));
  EXPECT_EQ(LogOf(L"LaunchUpgradeRunnerExport:"), expected);
  const bool restarts = ending.result == L"FAIL";
  EXPECT_EQ(Testing::ServiceCalls().size(), restarts ? 1u : 0u);
  // The document stays for the client.
  EXPECT_EQ(machine_.ReadFile(output_), ending.output);
}

INSTANTIATE_TEST_SUITE_P(Runners, ExportEnding,
                         testing::Combine(testing::ValuesIn(kEndings),
                                          testing::Values(L"FAIL", L"SUCCESS")),
                         [](const auto& row) {
                           return std::string(std::get<0>(row.param).title) +
                                  (std::get<1>(row.param) == L"FAIL" ? "AfterFailure"
                                                                     : "AfterSuccess");
                         });

class ExportThread : public ExportTest {};

TEST_F(ExportThread, RunsOnAThreadOfItsOwn) {
  runner_.OrderExport(
      {Step("tell", "started"), Step("wait", "go on"), Step("write", R"({"status": "success"})")});
  EXPECT_EQ(LaunchUpgradeRunnerExportPhase(false), 0);
  runner_.WaitFor(L"started");
  EXPECT_EQ(Status(), L"RUNNING");
  EXPECT_EQ(Result(), L"FAIL");
  EXPECT_FALSE(machine_.FileExists(output_));
  runner_.Tell(L"go on");
  AwaitThreads();
  EXPECT_EQ(Status(), L"FINISHED");
  EXPECT_EQ(Result(), L"SUCCESS");
  EXPECT_THAT(LogOf(L"LaunchUpgradeRunnerExport"),
              ElementsAre(kRunning, kFinished, ResultLine(L"SUCCESS")));
  // Nobody closes the thread's handle.
  EXPECT_THAT(NewHandles(), ElementsAre(StrEq("Thread")));
}

TEST_F(ExportThread, CanBeWaitedFor) {
  runner_.OrderExport({Step("write", R"({"status": "success"})")});
  EXPECT_EQ(LaunchUpgradeRunnerExportPhase(true), 0);
  EXPECT_EQ(Result(), L"SUCCESS");
  EXPECT_THAT(NewHandles(), IsEmpty());
}

TEST_F(ExportThread, AnswersForTheWaitAndNotForTheExport) {
  runner_.OrderExport({Step("exit", 1)});
  EXPECT_EQ(LaunchUpgradeRunnerExportPhase(true), 0);
  EXPECT_EQ(Status(), L"FINISHED");
}

TEST_F(ExportThread, FailsWhenItCannotWait) {
  // Without a runner's folder nobody else waits for anything.
  gProperties[L"URExtractDirectory"] = L"";
  machine_.PlanFault({.function = "WaitForSingleObject", .call = 1, .error = 6});
  EXPECT_EQ(LaunchUpgradeRunnerExportPhase(true), 1603);
  AwaitThreads();
  EXPECT_THAT(LogOf(L"LaunchUpgradeRunnerExportPhase"),
              ElementsAre(kRunning, ErrorLine(L"LaunchUpgradeRunnerExportPhase: Failed to wait for "
                                              L"UpgradeRunner export thread. Error: 6")));
}

TEST_F(ExportThread, StaysRunningForeverWithoutAThread) {
  machine_.PlanFault({.function = "CreateThread", .error = 8});
  for (const bool wait : {false, true}) {
    gProperties[L"EXPORT_STATUS"] = L"NOT_STARTED";
    EXPECT_EQ(LaunchUpgradeRunnerExportPhase(wait), 1603);
    EXPECT_EQ(Status(), L"RUNNING");
  }
  const LogLine failure = ErrorLine(
      L"LaunchUpgradeRunnerExportPhase: Failed to create a thread to export data and "
      L"configuration.");
  EXPECT_THAT(LogOf(L"LaunchUpgradeRunnerExport"),
              ElementsAre(kRunning, failure, kRunning, failure));
  EXPECT_EQ(Lab::TheMachine().Faults().Calls("CreateProcessW"), 0u);
}

TEST_F(ExportThread, EndsWithoutAResultWhenTheRunnerCannotStart) {
  gProperties[L"EXPORT_RESULT"] = L"SUCCESS";
  machine_.RemoveFile(Testing::ScriptedRunner::kFolder);
  EXPECT_EQ(LaunchUpgradeRunnerExportPhase(true), 0);
  EXPECT_EQ(Status(), L"FINISHED");
  EXPECT_EQ(Result(), L"SUCCESS");
  EXPECT_THAT(Testing::ServiceCalls(), IsEmpty());
  EXPECT_FALSE(machine_.FileExists(output_));
}

TEST_F(ExportThread, RunsAgainAfterItsEnd) {
  runner_.OrderExport({Step("write", R"({"status": "success"})"), Step("keep", "first input")});
  EXPECT_EQ(LaunchUpgradeRunnerExportPhase(true), 0);
  runner_.OrderExport({Step("tell", "started"), Step("wait", "go on"),
                       Step("write", R"({"status": "error"})"), Step("keep", "second input"),
                       Step("exit", 1)});
  EXPECT_EQ(LaunchUpgradeRunnerExportPhase(false), 0);
  runner_.WaitFor(L"started");
  EXPECT_EQ(Status(), L"RUNNING");
  // The first run's result holds until there is another one; its document is gone.
  EXPECT_EQ(Result(), L"SUCCESS");
  EXPECT_FALSE(machine_.FileExists(output_));
  runner_.Tell(L"go on");
  AwaitThreads();
  EXPECT_EQ(Status(), L"FINISHED");
  EXPECT_EQ(Result(), L"FAIL");
  EXPECT_THAT(runner_.Read(L"first input"), testing::HasSubstr(R"(Halvard\\export")"));
  EXPECT_THAT(runner_.Read(L"second input"), testing::HasSubstr(R"(Halvard\\export\\export")"));
  EXPECT_THAT(LogOf(L"LaunchUpgradeRunnerExport"),
              testing::IsSupersetOf({kRunning, kFinished, ResultLine(L"SUCCESS"), kRunning,
                                     kFinished, ResultLine(L"FAIL")}));
}

TEST_F(ExportThread, IsNeverSeenFinishedWithTheResultOfTheRunBefore) {
  runner_.OrderExport(
      {Step("tell", "started"), Step("wait", "go on"), Step("write", R"({"status": "success"})")});
  EXPECT_EQ(LaunchUpgradeRunnerExportPhase(false), 0);
  runner_.WaitFor(L"started");
  std::future<ExportState> seen;
  {
    // Stops the export between its two writes, where it reads the document.
    const auto lock = LockExportOutput();
    runner_.Tell(L"go on");
    while (Status() != L"FINISHED") std::this_thread::yield();
    EXPECT_EQ(Result(), L"FAIL");
    seen = std::async(std::launch::async, ReadExportState);
    // Whoever asks now gets its answer later.
    EXPECT_EQ(seen.wait_for(std::chrono::milliseconds(20)), std::future_status::timeout);
  }
  const ExportState state = seen.get();
  EXPECT_EQ(state.status, L"FINISHED");
  EXPECT_EQ(state.result, L"SUCCESS");
}

TEST_F(ExportThread, GetsItsResultWhateverClientsAskMeanwhile) {
  std::atomic<bool> ended = false;
  std::vector<std::thread> clients;
  for (int i = 0; i < 3; ++i) {
    clients.emplace_back([&] {
      while (!ended) {
        Json::Value document;
        (void)LoadExportOutput(output_, document);
      }
    });
  }
  for (int run = 0; run < 8; ++run) {
    gProperties[L"EXPORT_RESULT"] = L"FAIL";
    runner_.OrderExport({Step("write", R"({"status": "success"})")});
    EXPECT_EQ(LaunchUpgradeRunnerExport(nullptr), 0u);
    EXPECT_EQ(Result(), L"SUCCESS");
  }
  ended = true;
  for (std::thread& client : clients) client.join();
  // Nor could they keep an older document alive.
  EXPECT_THAT(LogOf(L"LaunchUpgradeRunnerCommon: Failed"), IsEmpty());
}

struct Restart {
  const wchar_t* type;
  const wchar_t* version;
  const char* call;
};

class ServiceRestart : public ExportTest, public testing::WithParamInterface<Restart> {};

TEST_P(ServiceRestart, StartsWhatTheTypeAndTheVersionHave) {
  gProperties[L"MIGRATION_TYPE"] = GetParam().type;
  gProperties[L"SOURCE_VERSION"] = GetParam().version;
  EXPECT_EQ(RestartServicesAfterFailedExport(nullptr), 0u);
  EXPECT_THAT(Testing::ServiceCalls(), ElementsAre(GetParam().call));
}

constexpr char kAllByScript[] = "ServiceControlStartStopAllServices(true)";

INSTANTIATE_TEST_SUITE_P(
    Types, ServiceRestart,
    testing::Values(
        Restart{L"infrastructure", L"5.5",
                "StartServices(OstRelDirectoryService, OstRelCertificateService, "
                "OstrelIdentityMgmtService, OstrelSTS, OstrelKdcService)"},
        Restart{L"management", L"5.5", "StartServices(kelvd, kelweb)"},
        Restart{L"embedded", L"5.5",
                "StartServices(OstRelDirectoryService, OstRelCertificateService, "
                "OstrelIdentityMgmtService, OstrelSTS, OstrelKdcService, kelvd, kelweb)"},
        Restart{L"tum", L"5.5", "StartServices()"}, Restart{L"embedded", L"6.0", kAllByScript},
        Restart{L"management", L"6.0", kAllByScript},
        Restart{L"infrastructure", L"6.0", kAllByScript}, Restart{L"tum", L"6.0", kAllByScript},
        Restart{L"embedded", L"", kAllByScript}));

TEST_F(ExportThread, FailedUpdateManagerHasNothingToRestart) {
  gProperties[L"MIGRATION_TYPE"] = L"tum";
  runner_.OrderExport({Step("write", R"({"status": "error"})"), Step("exit", 1)});
  EXPECT_EQ(LaunchUpgradeRunnerExportPhase(true), 0);
  AwaitThreads();
  EXPECT_THAT(Testing::ServiceCalls(), ElementsAre("StartServices()"));
}

TEST_F(ExportThread, KeepsItsResultWhenTheServicesCannotBeRestarted) {
  gProperties[L"EXPORT_RESULT"] = L"SUCCESS";
  machine_.PlanFault({.function = "CreateThread", .error = 8});
  runner_.OrderExport({Step("write", R"({"status": "error"})"), Step("exit", 1)});
  EXPECT_EQ(LaunchUpgradeRunnerExport(nullptr), 1603u);
  EXPECT_EQ(Result(), L"FAIL");
  EXPECT_THAT(Testing::ServiceCalls(), IsEmpty());
  EXPECT_THAT(LogOf(L"LaunchUpgradeRunnerExport:"),
              ElementsAre(kFinished, ResultLine(L"FAIL"),
                          WarningLine(L"LaunchUpgradeRunnerExport: Failed to create a thread to "
                                      L"start stopped services.")));
}

}  // namespace
}  // namespace Halvard::Runner
