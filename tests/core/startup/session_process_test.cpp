#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <csignal>

#include "process_test.h"
#include "scripted_checks.h"
#include "support/client_run.h"
#include "support/free_port.h"

namespace Halvard {
namespace {

using Testing::AgentProcess;
using Testing::AgentRun;
using testing::AllOf;
using testing::Contains;
using Testing::ErrorLine;
using Testing::FreePort;
using testing::HasSubstr;
using Testing::InfoLine;
using Testing::kAcceptedPassword;
using testing::Not;
using Testing::WarningLine;

/// A machine on which a run reaches its server: with a network to migrate.
class ReadyMachine : public Lab::Instance {
 public:
  explicit ReadyMachine(const std::string& machine) : Lab::Instance(machine) {
    SetVariable(Testing::kAddressVariable, L"192.0.2.10");
    Set("/adapters/0/ipv6", false);
    Set("/ports/host", true);
  }
};

/// Runs beyond the credentials, with checks that accept one password.
class Session : public testing::Test {
 protected:
  static std::vector<std::wstring> Arguments(const std::vector<std::wstring>& more) {
    std::vector<std::wstring> arguments{L"-p", kAcceptedPassword};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return arguments;
  }

  /// A run that ends by itself.
  static AgentRun RunToItsEnd(const Lab::Instance& machine,
                              const std::vector<std::wstring>& more = {}) {
    AgentProcess agent(machine, Arguments(more), AgentProcess::Input::kPipe,
                       Testing::ScriptedAgentProgram());
    agent.EndInput();
    return Conclude(agent);
  }

  /// A run that serves, and is stopped by Ctrl+C.
  static AgentRun Serve(const Lab::Instance& machine, const std::vector<std::wstring>& more = {}) {
    AgentProcess agent(machine, Arguments(more), AgentProcess::Input::kPipe,
                       Testing::ScriptedAgentProgram());
    agent.WaitFor(English(1021));
    agent.Signal(SIGINT);
    return Conclude(agent);
  }

  static AgentRun Conclude(AgentProcess& agent) {
    AgentRun run = agent.Wait();
    EXPECT_THAT(run.allOutput, Not(HasSubstr(kAcceptedPassword)));
    return run;
  }

  const std::wstring rule_ = std::wstring(145, L'=');
};

TEST_F(Session, OperatorIsToldToKeepTheConsoleAndGetsTheSummary) {
  ReadyMachine machine("embedded-5.5");
  machine.SetVariable(Testing::kInventoryVariable, L"100 1000");
  AgentProcess agent(machine, {}, AgentProcess::Input::kTerminal, Testing::ScriptedAgentProgram());
  agent.WaitFor(kPasswordPrompt);
  agent.TypeMasked(L"wrong\r");
  agent.WaitFor(kPasswordPrompt);
  agent.TypeMasked(std::wstring(kAcceptedPassword) + L"\r");
  agent.WaitFor(English(1021));
  agent.Type(L"\x03");
  const AgentRun run = Conclude(agent);
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_THAT(run.console,
              AllOf(HasSubstr(L"\n" + rule_ + L"   " + English(1181) + L"\n" + rule_ + L"\n"),
                    HasSubstr(L"   Deployment size: Small\n"),
                    HasSubstr(L"   Single Sign-On username: Administrator@ostrel.local\n"),
                    HasSubstr(rule_ + L"\n" + English(1021) + L"\n")));
  EXPECT_THAT(
      run.log,
      Contains(InfoLine(L"wmain: Inventory size retrieved. Num of Hosts: 100, Num of VMs: 1000")));
}

TEST_F(Session, DomainOfThePlatformInstallerNamesTheAdministrator) {
  ReadyMachine machine("infrastructure-platform");
  machine.WriteFile(
      L"C:\\ProgramData\\Ostrel\\KelvaneServer\\cfg\\install-defaults\\ostreldir.domain-name",
      "corp.example\n");
  const AgentRun run = Serve(machine);
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_THAT(run.console, HasSubstr(L"   Single Sign-On username: Administrator@corp.example\n"));
}

TEST_F(Session, FailedInventoryQueryCountsAsTiny) {
  const ReadyMachine machine("management-5.5");
  const AgentRun run = Serve(machine);
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_THAT(run.console,
              AllOf(HasSubstr(English(1059) + L"\n"), HasSubstr(L"   Deployment size: Tiny\n")));
  EXPECT_THAT(
      run.log,
      Contains(InfoLine(L"wmain: Inventory size retrieved. Num of Hosts: 0, Num of VMs: 0")));
}

TEST_F(Session, InfrastructureIsNotSized) {
  const ReadyMachine machine("infrastructure-5.5");
  const AgentRun run = Serve(machine);
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_THAT(run.console, Not(HasSubstr(L"Deployment size:")));
  EXPECT_THAT(
      run.log,
      Not(Contains(testing::Field(&Testing::LogLine::message, HasSubstr(L"Inventory size")))));
}

TEST_F(Session, LargestInventoryPassesWithoutAWord) {
  ReadyMachine machine("embedded-5.5");
  machine.SetVariable(Testing::kInventoryVariable, L"1000 10000");
  const AgentRun run = Serve(machine);
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_THAT(run.console,
              AllOf(HasSubstr(L"   Deployment size: Large\n"), Not(HasSubstr(English(1160)))));
}

TEST_F(Session, LargerInventoryStopsTheRunUnlessItIsAllowed) {
  ReadyMachine machine("embedded-5.5");
  machine.SetVariable(Testing::kInventoryVariable, L"1001 5");
  const AgentRun refused = RunToItsEnd(machine);
  EXPECT_EQ(refused.exitCode, kFailureCode);
  EXPECT_THAT(refused.log, Contains(ErrorLine(L"wmain: " + English(1060))));
  machine.SetVariable(L"HV_ALLOW_LARGE_PLUS_INV", L"");
  const AgentRun allowed = Serve(machine);
  EXPECT_EQ(allowed.exitCode, 0);
  EXPECT_THAT(allowed.console,
              AllOf(HasSubstr(English(1160) + L"\n"), HasSubstr(L"   Deployment size: Large\n")));
  EXPECT_THAT(allowed.log, Contains(WarningLine(L"wmain: " + English(1160))));
}

/// Where the log has a line that begins so; its end for none.
std::ptrdiff_t PlaceOf(const std::wstring& beginning, const std::vector<Testing::LogLine>& log) {
  return std::ranges::find_if(
             log,
             [&](const Testing::LogLine& line) { return line.message.starts_with(beginning); }) -
         log.begin();
}

/// The last line before those of the status file, of a run that left no text of its failure.
Testing::LogLine LastOfTheSteps(const AgentRun& run) {
  const auto status = static_cast<std::size_t>(PlaceOf(L"JsonResolveProperty: ", run.log));
  return status == 0 ? Testing::LogLine{} : run.log.at(status - 1);
}

TEST_F(Session, ChecksRunBetweenTheInventoryAndTheCertificate) {
  ReadyMachine machine("embedded-5.5");
  machine.SetVariable(Testing::kInventoryVariable, L"1 1");
  const std::vector<Testing::LogLine> log = Serve(machine).log;
  EXPECT_LT(PlaceOf(L"wmain: Inventory size", log), PlaceOf(L"Scripted: RunPreMigra", log));
  EXPECT_LT(PlaceOf(L"Scripted: RunPreMigra", log), PlaceOf(L"CollectNetworkToMigrate: ", log));
  EXPECT_LT(PlaceOf(L"CollectNetworkToMigrate: ", log), PlaceOf(L"Scripted: CheckDefault", log));
  EXPECT_LT(PlaceOf(L"Scripted: CheckDefault", log), PlaceOf(L"GenerateSSLCertificate: ", log));
  EXPECT_LT(PlaceOf(L"GenerateSSLCertificate: ", log), std::ssize(log));
  EXPECT_THAT(log, Contains(InfoLine(L"Scripted: RunPreMigrationChecks(3)")));
}

TEST_F(Session, FailedChecksEndTheRunBeforeTheNetworkIsLookedAt) {
  ReadyMachine machine("infrastructure-5.5");
  machine.Set("/ports/host", false);
  machine.SetVariable(Testing::kCheckFailureVariable, L"checks");
  const AgentRun run = RunToItsEnd(machine);
  EXPECT_EQ(run.exitCode, kFailureCode);
  EXPECT_EQ(LastOfTheSteps(run), InfoLine(L"Scripted: RunPreMigrationChecks(3)"));
  // The text alone tells a failure, and the checks have left none.
  EXPECT_EQ(StatusOf(machine), Status("success", L"", "9123"));
  EXPECT_THAT(machine.ListFolder(std::wstring(Lab::Instance::kProfile) + L"\\Desktop"),
              testing::IsEmpty());
}

TEST_F(Session, AMissingGatewayEndsTheRunBeforeThereIsACertificate) {
  ReadyMachine machine("infrastructure-5.5");
  machine.SetVariable(Testing::kCheckFailureVariable, L"gateway");
  const AgentRun run = RunToItsEnd(machine);
  EXPECT_EQ(run.exitCode, kFailureCode);
  EXPECT_EQ(LastOfTheSteps(run), InfoLine(L"Scripted: CheckDefaultGateway"));
}

TEST_F(Session, PauseWaitsForALine) {
  ReadyMachine machine("infrastructure-5.5");
  machine.SetVariable(L"HV_DEBUG_PAUSE", L"");
  AgentProcess agent(machine, {L"-p", kAcceptedPassword}, AgentProcess::Input::kTerminal,
                     Testing::ScriptedAgentProgram());
  agent.WaitFor(English(1022) + L"\n" + English(1015));
  agent.Type(L"\x03");
  agent.WaitForLog(InfoLine(L"CtrlHandler: Received ctrl type: 0"));
  agent.Type(L"\r");
  agent.WaitFor(English(1021));
  agent.Type(L"\x03");
  EXPECT_EQ(agent.Wait().exitCode, 0);
}

TEST_F(Session, TakenPortShowsInTheSummaryAlone) {
  ReadyMachine machine("infrastructure-5.5");
  // The host's table may grow while it is read, and then shows nothing.
  machine.Set("/ports/host", false);
  machine.Set("/ports/tcp", Json::Value(Json::objectValue));
  Json::Value ports;
  ports["0.0.0.0:9123"] = "timeWait";
  machine.Set("/ports/tcp", ports);
  const AgentRun run = Serve(machine);
  EXPECT_THAT(run.console, HasSubstr(L"   Port: 9124\n"));
  EXPECT_THAT(run.console, Not(HasSubstr(L"9123")));
}

TEST_F(Session, GivenPortThatCannotBeUsedEndsTheRun) {
  ReadyMachine machine("infrastructure-5.5");
  for (const wchar_t* port : {L"0", L"65536"}) {
    const AgentRun run = RunToItsEnd(machine, {L"-o", port});
    EXPECT_EQ(run.exitCode, kFailureCode);
    EXPECT_THAT(WithoutLogNotice(run.console), testing::EndsWith(English(1145, {port}) + L"\n"));
    EXPECT_EQ(StatusOf(machine), Status("fail", English(1145, {port})));
  }
  // The host's table may grow while it is read, and then shows nothing.
  machine.Set("/ports/host", false);
  const AgentRun taken = RunToItsEnd(machine, {L"-o", L"7444"});
  EXPECT_EQ(taken.exitCode, kFailureCode);
  EXPECT_THAT(WithoutLogNotice(taken.console), testing::EndsWith(English(1146, {L"7444"}) + L"\n"));
  EXPECT_EQ(StatusOf(machine), Status("fail", English(1146, {L"7444"})));
  machine.Set("/ports/host", true);
  EXPECT_THAT(Serve(machine, {L"-o", L"65535"}).console, HasSubstr(L"   Port: 65535\n"));
}

/// The text between a label of the summary and the end of its line.
std::wstring ShownBehind(const std::wstring& label, const std::wstring& console) {
  const std::size_t begin = console.find(label) + label.size();
  return console.substr(begin, console.find(L'\n', begin) - begin);
}

TEST_F(Session, ServesTheApiWithTheShownThumbprintUntilCtrlC) {
  ReadyMachine machine("embedded-5.5");
  const std::wstring port = std::to_wstring(FreePort());
  AgentProcess agent(machine, Arguments({L"-o", port}), AgentProcess::Input::kPipe,
                     Testing::ScriptedAgentProgram());
  agent.WaitFor(English(1021));
  const std::wstring thumbprint = ShownBehind(L"   SSL thumbprint: ", agent.Console());
  EXPECT_EQ(thumbprint.size(), 59u);
  const Testing::ClientRun call =
      Testing::RunClient({L"call", L"get_source_deployment_type", L"{}", L"--host", L"127.0.0.1",
                          L"--port", port, L"--thumbprint", thumbprint});
  EXPECT_EQ(call.exitCode, 1);
  EXPECT_THAT(call.errors, HasSubstr(English(1096)));
  const Testing::ClientRun stranger =
      Testing::RunClient({L"call", L"get_source_deployment_type", L"{}", L"--host", L"127.0.0.1",
                          L"--port", port, L"--thumbprint", std::wstring(40, L'0')});
  EXPECT_EQ(stranger.exitCode, 4);
  EXPECT_THAT(stranger.errors, HasSubstr(thumbprint));

  agent.Signal(SIGINT);
  const AgentRun run = Conclude(agent);
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_THAT(run.console, testing::EndsWith(English(1021) + L"\n" + English(1192) + L"\n" +
                                             English(1045) + L"\n"));
  EXPECT_THAT(run.log, Contains(InfoLine(L"CtrlHandler: " + English(1045))));
  EXPECT_EQ(StatusOf(machine), Status("success", L"", WideToUtf8(port), WideToUtf8(thumbprint)));
}

TEST_F(Session, StatusFileComesBehindTheServer) {
  const ReadyMachine machine("infrastructure-5.5");
  const AgentRun run = Serve(machine);
  const std::ptrdiff_t created = PlaceOf(L"CreateHVStatusFile: Created ", run.log);
  EXPECT_LT(PlaceOf(L"SetupAndStartHttpsServer: ", run.log), created);
  EXPECT_LT(created, std::ssize(run.log));
  EXPECT_THAT(run.console, Not(HasSubstr(L"Ostrel-HV-logs-")));
}

TEST_F(Session, ClosedConsoleEndsTheServerToo) {
  // At the clock's own speed: the time that is left to a closed console is short enough.
  ReadyMachine machine("infrastructure-5.5");
  AgentProcess agent(machine, Arguments({L"-o", std::to_wstring(FreePort())}),
                     AgentProcess::Input::kPipe, Testing::ScriptedAgentProgram());
  agent.WaitFor(English(1021));
  agent.Signal(SIGHUP);
  const AgentRun run = Conclude(agent);
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_THAT(run.log, Contains(InfoLine(L"CtrlHandler: Received ctrl type: 2")));
  EXPECT_THAT(run.console, testing::EndsWith(English(1045) + L"\n"));
}

TEST_F(Session, CertificateThatCannotBeWrittenEndsTheRun) {
  ReadyMachine machine("embedded-5.5");
  machine.Set("/ports/host", false);
  machine.MakeFolder(L"%LOCALAPPDATA%\\Ostrel\\Halvard\\hv_cert.pem");
  const AgentRun run = RunToItsEnd(machine);
  EXPECT_EQ(run.exitCode, kFailureCode);
  EXPECT_THAT(WithoutLogNotice(run.console), testing::EndsWith(English(1048) + L"\n"));
  EXPECT_EQ(StatusOf(machine),
            Status("fail", L"Failed to generate Halvard SSL certificate.", "9123"));
  EXPECT_THAT(run.log, Contains(ErrorLine(L"wmain: Failed to generate Halvard SSL certificate.")));
}

TEST_F(Session, UnknownAddressFamilyEndsTheRun) {
  ReadyMachine machine("embedded-5.5");
  // The adapter is found when the network is chosen, and not again after that.
  machine.PlanFault({.function = "GetNameInfoW", .call = 2, .match = {}, .error = 11001});
  const AgentRun run = RunToItsEnd(machine);
  EXPECT_EQ(run.exitCode, kFailureCode);
  EXPECT_THAT(WithoutLogNotice(run.console), testing::EndsWith(English(1148) + L"\n"));
  EXPECT_THAT(run.log, Contains(ErrorLine(L"wmain: Failed to setup the HTTPs server.")));
}

TEST_F(Session, PortThatTheTablesDoNotShowEndsTheRun) {
  ReadyMachine machine("embedded-5.5");
  machine.Set("/ports/host", false);
  boost::asio::io_context service;
  const boost::asio::ip::tcp::acceptor other(service, {boost::asio::ip::tcp::v4(), 0});
  const AgentRun run =
      RunToItsEnd(machine, {L"-o", std::to_wstring(other.local_endpoint().port())});
  EXPECT_EQ(run.exitCode, kFailureCode);
  EXPECT_THAT(run.log, Contains(testing::Field(&Testing::LogLine::message,
                                               testing::StartsWith(L"wmain: bind: "))));
}

TEST_F(Session, WarningOfExtensionsStandsAboveTheSummary) {
  const ReadyMachine machine("infrastructure-5.5-warned");
  const AgentRun run = Serve(machine);
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
  const ReadyMachine machine("infrastructure-5.5");
  const AgentRun run = Serve(machine, {L"-e", L"D:\\Ausgabe \u6771\u4eac \U0001F511"});
  EXPECT_THAT(run.console,
              HasSubstr(L"   Export data folder: D:\\Ausgabe \u6771\u4eac \U0001F511\n"));
}

}  // namespace
}  // namespace Halvard
