#include "process_test.h"
#include "scripted_checks.h"

namespace Halvard {
namespace {

using Testing::AgentProcess;
using Testing::AgentRun;
using testing::AllOf;
using testing::Contains;
using Testing::ErrorLine;
using testing::HasSubstr;
using Testing::InfoLine;
using Testing::kAcceptedPassword;
using testing::Not;
using Testing::WarningLine;

/// Runs beyond the credentials, with checks that accept one password.
class Session : public testing::Test {
 protected:
  AgentRun Run(const Lab::Instance& machine, std::vector<std::wstring> more = {}) {
    std::vector<std::wstring> arguments{L"-p", kAcceptedPassword};
    arguments.insert(arguments.end(), more.begin(), more.end());
    AgentProcess agent(machine, arguments, AgentProcess::Input::kPipe,
                       Testing::ScriptedAgentProgram());
    agent.EndInput();
    AgentRun run = agent.Wait();
    EXPECT_THAT(run.allOutput, Not(HasSubstr(kAcceptedPassword)));
    return run;
  }

  const std::wstring rule_ = std::wstring(145, L'=');
};

TEST_F(Session, OperatorIsToldToKeepTheConsoleAndGetsTheSummary) {
  Lab::Instance machine("embedded-5.5");
  machine.SetVariable(Testing::kInventoryVariable, L"100 1000");
  AgentProcess agent(machine, {}, AgentProcess::Input::kTerminal, Testing::ScriptedAgentProgram());
  agent.WaitFor(L"Enter Administrator@ostrel.local password: ");
  agent.Type(L"wrong\r");
  agent.WaitFor(L"Enter Administrator@ostrel.local password: ");
  agent.Type(std::wstring(kAcceptedPassword) + L"\r");
  const AgentRun run = agent.Wait();
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_THAT(run.console,
              AllOf(HasSubstr(L"\n" + rule_ + L"   " + English(1181) + L"\n" + rule_ + L"\n"),
                    HasSubstr(L"   Deployment size: Small\n"),
                    HasSubstr(L"   Single Sign-On username: Administrator@ostrel.local\n"),
                    testing::EndsWith(rule_ + L"\n" + English(1021) + L"\n")));
  EXPECT_THAT(
      run.log,
      Contains(InfoLine(L"wmain: Inventory size retrieved. Num of Hosts: 100, Num of VMs: 1000")));
  EXPECT_THAT(run.allOutput, Not(HasSubstr(kAcceptedPassword)));
}

TEST_F(Session, DomainOfThePlatformInstallerNamesTheAdministrator) {
  Lab::Instance machine("infrastructure-platform");
  machine.WriteFile(
      L"C:\\ProgramData\\Ostrel\\KelvaneServer\\cfg\\install-defaults\\ostreldir.domain-name",
      "corp.example\n");
  const AgentRun run = Run(machine);
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_THAT(run.console, HasSubstr(L"   Single Sign-On username: Administrator@corp.example\n"));
}

TEST_F(Session, FailedInventoryQueryCountsAsTiny) {
  const Lab::Instance machine("management-5.5");
  const AgentRun run = Run(machine);
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_THAT(run.console,
              AllOf(HasSubstr(English(1059) + L"\n"), HasSubstr(L"   Deployment size: Tiny\n")));
  EXPECT_THAT(
      run.log,
      Contains(InfoLine(L"wmain: Inventory size retrieved. Num of Hosts: 0, Num of VMs: 0")));
}

TEST_F(Session, InfrastructureIsNotSized) {
  const Lab::Instance machine("infrastructure-5.5");
  const AgentRun run = Run(machine);
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_THAT(run.console, Not(HasSubstr(L"Deployment size:")));
  EXPECT_THAT(
      run.log,
      Not(Contains(testing::Field(&Testing::LogLine::message, HasSubstr(L"Inventory size")))));
}

TEST_F(Session, LargestInventoryPassesWithoutAWord) {
  Lab::Instance machine("embedded-5.5");
  machine.SetVariable(Testing::kInventoryVariable, L"1000 10000");
  const AgentRun run = Run(machine);
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_THAT(run.console,
              AllOf(HasSubstr(L"   Deployment size: Large\n"), Not(HasSubstr(English(1160)))));
}

TEST_F(Session, LargerInventoryStopsTheRunUnlessItIsAllowed) {
  Lab::Instance machine("embedded-5.5");
  machine.SetVariable(Testing::kInventoryVariable, L"1001 5");
  const AgentRun refused = Run(machine);
  EXPECT_EQ(refused.exitCode, kFailureCode);
  EXPECT_THAT(refused.log, Contains(ErrorLine(L"wmain: " + English(1060))));
  machine.SetVariable(L"HV_ALLOW_LARGE_PLUS_INV", L"");
  const AgentRun allowed = Run(machine);
  EXPECT_EQ(allowed.exitCode, 0);
  EXPECT_THAT(allowed.console,
              AllOf(HasSubstr(English(1160) + L"\n"), HasSubstr(L"   Deployment size: Large\n")));
  EXPECT_THAT(allowed.log, Contains(WarningLine(L"wmain: " + English(1160))));
}

TEST_F(Session, PauseWaitsForALine) {
  Lab::Instance machine("infrastructure-5.5");
  machine.SetVariable(L"HV_DEBUG_PAUSE", L"");
  AgentProcess agent(machine, {L"-p", kAcceptedPassword}, AgentProcess::Input::kTerminal,
                     Testing::ScriptedAgentProgram());
  agent.WaitFor(English(1022) + L"\n" + English(1015));
  agent.Type(L"\x03");
  agent.WaitForLog(InfoLine(L"CtrlHandler: Received ctrl type: 0"));
  agent.Type(L"\r");
  agent.WaitFor(English(1021));
  EXPECT_EQ(agent.Wait().exitCode, 0);
}

TEST_F(Session, TakenPortShowsInTheSummaryAlone) {
  Lab::Instance machine("infrastructure-5.5");
  machine.Set("/ports/tcp", Json::Value(Json::objectValue));
  Json::Value ports;
  ports["0.0.0.0:9123"] = "timeWait";
  machine.Set("/ports/tcp", ports);
  const AgentRun run = Run(machine);
  EXPECT_THAT(run.console, HasSubstr(L"   Port: 9124\n"));
  EXPECT_THAT(run.console, Not(HasSubstr(L"9123")));
}

TEST_F(Session, GivenPortThatCannotBeUsedEndsTheRun) {
  Lab::Instance machine("infrastructure-5.5");
  for (const wchar_t* port : {L"0", L"65536"}) {
    const AgentRun run = Run(machine, {L"-o", port});
    EXPECT_EQ(run.exitCode, kFailureCode);
    EXPECT_THAT(run.console, testing::EndsWith(English(1145, {port}) + L"\n"));
  }
  const AgentRun taken = Run(machine, {L"-o", L"7444"});
  EXPECT_EQ(taken.exitCode, kFailureCode);
  EXPECT_THAT(taken.console, testing::EndsWith(English(1146, {L"7444"}) + L"\n"));
  EXPECT_THAT(Run(machine, {L"-o", L"65535"}).console, HasSubstr(L"   Port: 65535\n"));
}

TEST_F(Session, WarningOfExtensionsStandsAboveTheSummary) {
  const Lab::Instance machine("infrastructure-5.5-warned");
  const AgentRun run = Run(machine);
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_THAT(
      run.console,
      HasSubstr(
          rule_ +
          English(
              1153,
              {L"\nOstrel Tarmis Hostcore Crash Sink 5.5.0.1655\nOstrel Tarmis Console Portal 5.5.0.1804"}) +
          L"\n\n"));
}

TEST_F(Session, ExportFolderOfTheCommandLineShowsInTheSummary) {
  const Lab::Instance machine("infrastructure-5.5");
  const AgentRun run = Run(machine, {L"-e", L"D:\\Ausgabe \u6771\u4eac \U0001F511"});
  EXPECT_THAT(run.console,
              HasSubstr(L"   Export data folder: D:\\Ausgabe \u6771\u4eac \U0001F511\n"));
}

}  // namespace
}  // namespace Halvard
