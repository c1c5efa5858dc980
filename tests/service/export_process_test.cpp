// Prechecks and exports of a whole agent, asked by its client, with the machine's own runner.
#include <signal.h>

#include <algorithm>
#include <chrono>
#include <future>
#include <stdexcept>

#include "machine/machine.h"
#include "serving_agent.h"
#include "support/machine_processes.h"

namespace Halvard {
namespace {

using Testing::AgentRun;
using testing::AllOf;
using Testing::ClientRun;
using testing::Contains;
using testing::HasSubstr;
using Testing::InfoLine;
using testing::Not;

/// Two findings, and an export that asks whether it is to go on; only "yes" will do.
Json::Value FindingsAndAQuestion() {
  Json::Value scenario;
  Json::Value& findings = scenario["requirements"]["findings"];
  findings[0]["text"] = "The disk is old.";
  findings[0]["severity"] = "WARNING";
  findings[0]["resolution"] = "Buy a new one.";
  findings[1]["text"] = "The clock is wrong.";
  scenario["export"]["bytes"] = 10'000;
  Json::Value& question = scenario["export"]["questions"][0];
  question["id"] = "go-on";
  question["text"] = "Go on?";
  question["expected"] = "yes";
  question["replyFile"] = "path";
  return scenario;
}

const std::vector<std::wstring> kStatus = {L"export-status"};

TEST(ServiceExport, FindingsOfThePrechecksAreShownAsATable) {
  const ServingAgent agent("embedded-platform", FindingsAndAQuestion());
  const ClientRun prechecks = agent.Ask({L"prechecks"});
  EXPECT_EQ(prechecks.exitCode, 0) << WideToUtf8(prechecks.errors);
  EXPECT_EQ(prechecks.output,
            L"Source: embedded 5.8, 100 hosts, 1000 virtual machines, size Small\n\n"
            L"Severity  Component         Finding\n"
            L"WARNING   com.ostrel.keldb  The disk is old.\n"
            L"                            Resolution: Buy a new one.\n"
            L"ERROR     com.ostrel.keldb  The clock is wrong.\n\n"
            L"1 error, 1 warning\n");
  EXPECT_EQ(agent.Ask({L"cached-prechecks"}).output, prechecks.output);
  EXPECT_THAT(agent.Ask({L"cached-prechecks", L"--json"}).output,
              HasSubstr(L"\"componentRequirements\" : ["));
}

TEST(ServiceExport, IsStartedFollowedAnsweredFailedAndRunAgain) {
  ServingAgent agent("embedded-platform", FindingsAndAQuestion());
  EXPECT_EQ(agent.Ask({L"export"}).errors, English(1066) + L"\n");
  EXPECT_EQ(agent.Ask({L"prechecks"}).exitCode, 0);
  EXPECT_EQ(agent.Ask({L"export"}).exitCode, 0);
  const ClientRun waiting = agent.AskUntil(kStatus, L"\"go-on\"");
  EXPECT_EQ(waiting.errors,
            L"The export waits for an answer to the question \"go-on\": hvctl answer --answer "
            L"JSON\n");
  EXPECT_EQ(agent.Ask({L"export"}).errors, English(1068) + L"\n");
  EXPECT_EQ(agent.Ask({L"prechecks"}).errors, English(1085) + L"\n");
  EXPECT_EQ(agent.Ask({L"answer", L"--answer", L"\"no\""}).exitCode, 0);
  (void)agent.AskUntil(kStatus, L"\"error\"");
  // The runner's word comes a moment before its end.
  agent.WaitForLog(
      InfoLine(L"LaunchUpgradeRunnerExport: Changing the status of export result to: FAIL"));

  EXPECT_EQ(agent.Ask({L"export"}).exitCode, 0);
  (void)agent.AskUntil(kStatus, L"\"go-on\"");
  EXPECT_EQ(agent.Ask({L"answer", L"--answer", L"\"yes\""}).exitCode, 0);
  (void)agent.AskUntil(kStatus, L"\"success\"");
  agent.WaitForLog(
      InfoLine(L"LaunchUpgradeRunnerExport: Changing the status of export result to: SUCCESS"));
  // The next one would answer no question.
  EXPECT_EQ(agent.Ask({L"export", L"--silent"}).exitCode, 0);
  agent.WaitForLog(InfoLine(
      L"Halvard::MigratorSvc::AsyncServiceImpl::InvokeExport: Running export in silent mode."));
  const AgentRun run = agent.Stop();
  EXPECT_THAT(run.allOutput, Not(HasSubstr(Testing::kAcceptedPassword)));
  EXPECT_THAT(run.console, AllOf(HasSubstr(English(1069)), HasSubstr(English(1083))));
}

TEST(ServiceExport, QuestionsOfEachFormFindTheirAnswers) {
  Json::Value scenario;
  Json::Value& questions = scenario["export"]["questions"];
  for (const char* form : {"none", "name", "path"}) {
    Json::Value question;
    question["id"] = std::string("form ") + form;
    question["replyFile"] = form;
    question["expected"]["form"] = form;
    questions.append(question);
  }
  const ServingAgent agent("infrastructure-5.5", scenario);
  (void)agent.Ask({L"prechecks"});
  EXPECT_EQ(agent.Ask({L"answer", L"--answer", L"1"}).errors, English(1082) + L"\n");
  EXPECT_EQ(agent.Ask({L"export"}).exitCode, 0);
  for (const wchar_t* form : {L"none", L"name", L"path"}) {
    (void)agent.AskUntil(kStatus, std::wstring(L"\"form ") + form + L"\"");
    EXPECT_EQ(agent.Ask({L"answer", L"--answer", std::wstring(L"{\"form\": \"") + form + L"\"}"})
                  .exitCode,
              0);
  }
  (void)agent.AskUntil(kStatus, L"\"success\"");
}

TEST(ServiceExport, PrechecksAreRepeatedWhateverTheLastOnesCameTo) {
  ServingAgent agent("embedded-5.5", FindingsAndAQuestion());
  const auto play = [&](const char* member, const Json::Value& value) {
    agent.Machine().Remove("/upgradeRunner/requirements");
    agent.Machine().Set(std::string("/upgradeRunner/requirements/") + member, value);
  };
  const std::vector<std::wstring> run = {L"prechecks"};
  const std::vector<std::wstring> cached = {L"cached-prechecks"};
  EXPECT_THAT(agent.Ask(run).output, HasSubstr(L"1 error, 1 warning\n"));
  play("exitCode", 3);
  EXPECT_EQ(agent.Ask(run).errors, English(1091) + L"\n");
  // A runner that fails may have reported all the same.
  EXPECT_EQ(agent.Ask(cached).output.find(L"1 error"), std::wstring::npos);
  play("manyFindings", 2);
  EXPECT_THAT(agent.Ask(run).output, HasSubstr(L"0 errors, 2 warnings\n"));
  play("output", "none");
  EXPECT_EQ(agent.Ask(run).exitCode, 0);
  EXPECT_THAT(agent.Ask({L"cached-prechecks", L"--json"}).output,
              HasSubstr(L"\"componentRequirements\" : null"));
  play("hangs", "afterOutput");
  std::future<ClientRun> hanging = std::async(std::launch::async, [&] { return agent.Ask(run); });
  kill(Lab::AwaitRunner(agent.Machine()), SIGKILL);
  EXPECT_EQ(hanging.get().errors, English(1091) + L"\n");
  EXPECT_EQ(agent.Ask({L"export", L"--silent"}).exitCode, 0);
  (void)agent.AskUntil(kStatus, L"\"success\"");
}

/// A machine whose export fails, and the services that its runner has stopped then.
struct FailedExport {
  const char* machine;
  std::vector<std::wstring> services;  ///< In the order of their start.
  bool byScript;
};

const std::vector<std::wstring> kSignOn = {L"OstRelDirectoryService", L"OstRelCertificateService",
                                           L"OstrelIdentityMgmtService", L"OstrelSTS",
                                           L"OstrelKdcService"};
const std::vector<std::wstring> kServer = {L"kelvd", L"kelweb"};
const std::vector<std::wstring> kBoth = {L"OstRelDirectoryService",
                                         L"OstRelCertificateService",
                                         L"OstrelIdentityMgmtService",
                                         L"OstrelSTS",
                                         L"OstrelKdcService",
                                         L"kelvd",
                                         L"kelweb"};

/// An export that has stopped the services and fails.
Json::Value FailingExport() {
  Json::Value scenario;
  scenario["export"]["status"] = "error";
  scenario["export"]["bytes"] = 1;
  return scenario;
}

void SpeedUp(Lab::Instance& machine) { machine.Set("/clock/speed", 100); }

/// Whether the machine's service manager says so.
bool Runs(const std::wstring& name) {
  const Lab::Service& service = Lab::TheMachine().Describe().services.at(name);
  return Lab::TheMachine().ServiceStates().StatusOf(name, service).state ==
         Lab::ServiceState::kRunning;
}

class RestartOfServices : public testing::Test, public testing::WithParamInterface<FailedExport> {
 protected:
  static void AwaitServices() {
    const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    while (!std::ranges::all_of(GetParam().services, Runs)) {
      if (std::chrono::steady_clock::now() > end) throw std::runtime_error("A service hangs.");
    }
  }

  /// The messages in which the agent tells of services, in their order.
  static std::vector<std::wstring> Told(const AgentRun& run) {
    std::vector<std::wstring> told;
    for (const Testing::LogLine& line : run.log) {
      if (line.message.starts_with(L"StartServices: ") ||
          line.message.starts_with(L"ServiceControlStartStopAllServices: ")) {
        told.push_back(line.message);
      }
    }
    return told;
  }
};

TEST_P(RestartOfServices, FollowsAFailedExportInTheirOrder) {
  ServingAgent agent(GetParam().machine, FailingExport(), SpeedUp);
  (void)agent.Ask({L"prechecks"});
  EXPECT_EQ(agent.Ask({L"export"}).exitCode, 0);
  agent.WaitForLog(
      InfoLine(L"LaunchUpgradeRunnerExport: Changing the status of export result to: FAIL"));
  std::vector<std::wstring> expected;
  if (GetParam().byScript) {
    expected.push_back(L"ServiceControlStartStopAllServices: Starting all services.");
  } else {
    for (const std::wstring& service : GetParam().services) {
      expected.push_back(L"StartServices: Starting service '" + service + L"'");
      expected.push_back(L"StartServices: Successfully started service '" + service + L"'");
    }
  }
  agent.WaitForLog(InfoLine(expected.back()));
  AwaitServices();
  EXPECT_EQ(Told(agent.Stop()), expected);
}

INSTANTIATE_TEST_SUITE_P(Machines, RestartOfServices,
                         testing::Values(FailedExport{"embedded-5.5", kBoth, false},
                                         FailedExport{"management-5.5", kServer, false},
                                         FailedExport{"infrastructure-5.5", kSignOn, false},
                                         FailedExport{"embedded-platform", kBoth, true},
                                         FailedExport{"management-platform", kServer, true},
                                         FailedExport{"infrastructure-platform", kSignOn, true}),
                         [](const auto& row) {
                           std::string name = row.param.machine;
                           std::erase_if(name,
                                         [](unsigned char c) { return std::isalnum(c) == 0; });
                           return name;
                         });

TEST(ServiceExport, ServiceThatDoesNotComeUpKeepsTheRestDownButNoLaterExport) {
  ServingAgent agent("embedded-5.5", FailingExport(), [](Lab::Instance& machine) {
    SpeedUp(machine);
    machine.Set("/services/OstrelSTS/start/error", 1069);
  });
  (void)agent.Ask({L"prechecks"});
  EXPECT_EQ(agent.Ask({L"export"}).exitCode, 0);
  agent.WaitForLog(InfoLine(L"StartServices: Failed to start service 'OstrelSTS'"));
  EXPECT_TRUE(Runs(L"OstrelIdentityMgmtService"));
  for (const wchar_t* service : {L"OstrelSTS", L"OstrelKdcService", L"kelvd", L"kelweb"}) {
    EXPECT_FALSE(Runs(service)) << WideToUtf8(service);
  }
  agent.Machine().Set("/upgradeRunner/export/status", "success");
  EXPECT_EQ(agent.Ask({L"export"}).exitCode, 0);
  (void)agent.AskUntil(kStatus, L"\"success\"");
  EXPECT_THAT(agent.Stop().log, Contains(InfoLine(L"StartServiceW: StartService failed (1069)")));
}

}  // namespace
}  // namespace Halvard
