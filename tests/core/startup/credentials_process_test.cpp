#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <csignal>

#include "process_test.h"
#include "support/slapd.h"

namespace Halvard {
namespace {

using Testing::AgentProcess;
using Testing::AgentRun;
using testing::Contains;
using Testing::ErrorLine;
using testing::HasSubstr;
using Testing::InfoLine;
using testing::Not;
using Testing::RunAgent;
using Testing::WarningLine;

TEST(Credentials, ThreeWrongPasswordsAtATerminalEndTheRun) {
  SKIP_WITHOUT_SLAPD();
  const Lab::Slapd directory({.version = std::nullopt});
  Lab::Instance machine("infrastructure-5.5");
  Lab::PlaceDirectory(machine, directory, "localhost", 11712);
  AgentProcess agent(machine, {});
  for (const wchar_t* password : {L"s3cret-1", L"s3cret-\u00e4\u6771", L"s3cret-3x\b"}) {
    agent.WaitFor(kPasswordPrompt);
    agent.TypeMasked(std::wstring(password) + L"\r");
    agent.WaitFor(English(1050) + L"\n");
  }
  agent.WaitFor(English(1042) + L"\n");
  agent.WaitFor(English(1126) + L"\n");
  agent.Type(L"\r");
  const AgentRun run = agent.Wait();

  EXPECT_EQ(run.exitCode, kFailureCode);
  const std::wstring masked = std::wstring(kPasswordPrompt) + L"********\n" + English(1050) + L"\n";
  EXPECT_THAT(run.console, HasSubstr(masked));
  EXPECT_THAT(run.console, HasSubstr(L": *********\n"));
  EXPECT_THAT(run.console, HasSubstr(L": *********\b \b\n"));
  EXPECT_THAT(run.allOutput, Not(HasSubstr(L"s3cret")));
  EXPECT_THAT(run.log, Contains(ErrorLine(L"CollectRequiredUserInput: " + English(1042))));
  EXPECT_THAT(
      run.log,
      Contains(
          ErrorLine(
              L"ValidateLocalSSOCredentials: Passed credentials are not valid. Error code: 49"))
          .Times(3));
}

TEST(Credentials, RightPasswordOfTheDirectoryIsTakenAtTheFirstTry) {
  SKIP_WITHOUT_SLAPD();
  const Lab::Slapd directory({.version = std::nullopt});
  Lab::Instance machine("infrastructure-5.5");
  Lab::PlaceDirectory(machine, directory, "localhost", 11712);
  AgentProcess agent(machine, {L"-p", L"secret"}, AgentProcess::Input::kPipe);
  agent.WaitFor(English(1021));
  agent.Signal(SIGINT);
  const AgentRun run = agent.Wait();
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_THAT(
      run.log,
      Contains(InfoLine(L"ValidateLocalSSOCredentials: Successfully validated SSO credentials.")));
  EXPECT_THAT(run.console, Not(HasSubstr(English(1098))));
  EXPECT_THAT(run.allOutput, Not(HasSubstr(L"secret")));
}

/// A port on which nobody listens.
std::wstring ClosedPort() {
  boost::asio::io_context service;
  const boost::asio::ip::tcp::acceptor probe(service, {boost::asio::ip::address_v4::loopback(), 0});
  return std::to_wstring(probe.local_endpoint().port());
}

TEST(Credentials, KelvaneServersAdministratorIsAskedForToo) {
  Lab::Instance machine("embedded-5.5");
  const std::wstring port = ClosedPort();
  machine.SetRegistryString(L"HKEY_LOCAL_MACHINE\\SOFTWARE\\Ostrel, Inc.\\Ostrel Kelvane",
                            L"HttpsProxyPort", port);
  AgentProcess agent(machine, {});
  for (int i = 0; i < 3; ++i) {
    agent.WaitFor(kPasswordPrompt);
    agent.TypeMasked(L"s3cret\r");
    agent.WaitFor(English(1058) + L"\n");
  }
  agent.WaitFor(English(1126) + L"\n");
  agent.Type(L"\r");
  const AgentRun run = agent.Wait();
  EXPECT_EQ(run.exitCode, kFailureCode);
  EXPECT_THAT(run.log,
              Contains(WarningLine(L"ValidateKvAdminCredentials: RetrieveContent on localhost:" +
                                   port + L" failed: Connecting to localhost:" + port +
                                   L" failed: connection refused."))
                  .Times(3));
}

TEST(Credentials, CtrlCAtAPromptIsSwallowed) {
  const Lab::Instance machine("infrastructure-5.5");
  AgentProcess agent(machine, {});
  agent.WaitFor(kPasswordPrompt);
  agent.TypeMasked(L"ab");
  agent.WaitFor(L"**");
  // The terminal of the host drops what was typed ahead of Ctrl+C, so each piece waits for the
  // last.
  agent.Type(L"\x03");
  agent.WaitForLog(InfoLine(L"CtrlHandler: Received ctrl type: 0"));
  agent.TypeMasked(L"cd");
  agent.WaitFor(L"**");
  agent.Type(L"\r");
  for (int i = 0; i < 2; ++i) {
    agent.WaitFor(kPasswordPrompt);
    agent.TypeMasked(L"\r");
  }
  agent.WaitFor(English(1126));
  agent.Type(L"\r");
  const AgentRun run = agent.Wait();
  EXPECT_EQ(run.exitCode, kFailureCode);
  EXPECT_THAT(run.console, HasSubstr(std::wstring(kPasswordPrompt) + L"****\n"));
  EXPECT_THAT(run.console, Not(HasSubstr(English(1045))));
}

TEST(Credentials, WithoutAConsoleThreeEmptyPasswordsEndTheRun) {
  const Lab::Instance machine("infrastructure-5.5");
  const AgentRun run = RunAgent(machine, {});
  EXPECT_EQ(run.exitCode, kFailureCode);
  const std::wstring attempt = std::wstring(kPasswordPrompt) + L"\n" + English(1050) + L"\n";
  EXPECT_EQ(WithoutLogNotice(run.console), English(1014) + L"\n" + attempt + attempt + attempt +
                                               English(1042) + L"\n" + English(1126) + L"\n");
}

TEST(Credentials, WrongPasswordOnTheCommandLineEndsTheRunAtOnce) {
  const Lab::Instance machine("infrastructure-5.5");
  const AgentRun run =
      RunAgent(machine, {L"-p", L"s3cret", L"-a", L"s3cret", L"-e", L"C:\\export"});
  EXPECT_EQ(run.exitCode, kFailureCode);
  EXPECT_EQ(WithoutLogNotice(run.console), English(1014) + L"\n" + English(1133) + English(1098) +
                                               L"\n" + English(1054) + English(1050) + L"\n");
  EXPECT_THAT(run.allOutput, Not(HasSubstr(L"s3cret")));
}

}  // namespace
}  // namespace Halvard
