// Prechecks and exports of a whole agent, asked by its client, with the machine's own runner.
#include "serving_agent.h"

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
Json::Value Scenario() {
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
  const ServingAgent agent("embedded-platform", Scenario());
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
  ServingAgent agent("embedded-platform", Scenario());
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

}  // namespace
}  // namespace Halvard
