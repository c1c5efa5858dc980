// The opening in the firewall, over the life of a whole agent.
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>

#include "serving_agent.h"

namespace Halvard {
namespace {

using Lab::IpProtocol;
using Lab::Opening;
using Testing::AgentProcess;
using Testing::AgentRun;
using testing::ElementsAre;
using testing::IsEmpty;
using Testing::LogLine;

constexpr wchar_t kAdded[] = L"TempFirewallException::AddFirewallPort: Successfully added ";
constexpr wchar_t kRemoved[] = L"TempFirewallException::RemoveFirewallPort: Successfully removed ";

/// The openings at the moment, on the machine of the test.
std::vector<Opening> Openings() { return Lab::TheMachine().FirewallOpenings().All(); }

Opening OwnOpening(const std::wstring& port) {
  return {static_cast<std::uint16_t>(std::stoul(port)), IpProtocol::kTcp,
          L"Ostrel-Halvard (Temporary)", true};
}

/// The places of lines that begin so, one for each beginning; a line that isn't there is at the
/// end.
std::vector<std::ptrdiff_t> PlacesOf(const std::vector<std::wstring>& beginnings,
                                     const std::vector<LogLine>& log) {
  std::vector<std::ptrdiff_t> places;
  for (const std::wstring& beginning : beginnings) {
    const auto place = std::ranges::find_if(
        log, [&](const LogLine& line) { return line.message.starts_with(beginning); });
    places.push_back(place - log.begin());
  }
  return places;
}

TEST(Firewall, IsOpenWhileTheAgentServesAndClosedAfterCtrlC) {
  ServingAgent agent;
  EXPECT_THAT(Openings(), ElementsAre(OwnOpening(agent.Port())));
  const AgentRun run = agent.Stop();
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_THAT(Openings(), IsEmpty());
  const std::vector<std::ptrdiff_t> places =
      PlacesOf({L"GenerateSSLCertificate: ", kAdded, L"SetupAndStartHttpsServer: ", kRemoved,
                L"PythonUpgradeRunnerExtractor::~PythonUpgradeRunnerExtractor: "},
               run.log);
  EXPECT_TRUE(std::ranges::is_sorted(places)) << testing::PrintToString(places);
  EXPECT_LT(places.back(), std::ssize(run.log));
}

TEST(Firewall, IsClosedWhenTheConsoleIsClosed) {
  ServingAgent agent("infrastructure-5.5");
  EXPECT_THAT(Openings(), ElementsAre(OwnOpening(agent.Port())));
  EXPECT_EQ(agent.Stop(SIGHUP).exitCode, 0);
  EXPECT_THAT(Openings(), IsEmpty());
}

TEST(Firewall, StaysOpenThroughAFailedExportUntilTheMachineIsShutDown) {
  Json::Value scenario;
  scenario["export"]["status"] = "error";
  ServingAgent agent("embedded-platform", scenario);
  EXPECT_EQ(agent.Ask({L"prechecks"}).exitCode, 0);
  EXPECT_EQ(agent.Ask({L"export", L"--silent"}).exitCode, 0);
  agent.WaitForLog(Testing::InfoLine(
      L"LaunchUpgradeRunnerExport: Changing the status of export result to: FAIL"));
  EXPECT_THAT(Openings(), ElementsAre(OwnOpening(agent.Port())));
  EXPECT_EQ(agent.Ask({L"shutdown-machine"}).exitCode, 0);
  EXPECT_EQ(agent.WaitForEnd().exitCode, 0);
  EXPECT_THAT(Openings(), IsEmpty());
}

TEST(Firewall, IsClosedAfterAFailureBehindIt) {
  Lab::Instance machine("infrastructure-5.5");
  machine.SetVariable(Testing::kAddressVariable, L"192.0.2.10");
  machine.Set("/adapters/0/ipv6", false);
  boost::asio::io_context service;
  const boost::asio::ip::tcp::acceptor other(service, {boost::asio::ip::tcp::v4(), 0});
  AgentProcess agent(
      machine,
      {L"-p", Testing::kAcceptedPassword, L"-o", std::to_wstring(other.local_endpoint().port())},
      AgentProcess::Input::kPipe, Testing::ScriptedAgentProgram());
  agent.EndInput();
  const AgentRun run = agent.Wait();
  EXPECT_EQ(run.exitCode, kFailureCode);
  EXPECT_THAT(Openings(), IsEmpty());
  // The failure is told before what was set up is taken back.
  const std::vector<std::ptrdiff_t> places =
      PlacesOf({kAdded, L"wmain: bind: ", L"CreateHVStatusFile: Created ", kRemoved}, run.log);
  EXPECT_TRUE(std::ranges::is_sorted(places)) << testing::PrintToString(places);
  EXPECT_LT(places.back(), std::ssize(run.log));
}

TEST(Firewall, StaysOpenBehindAnAgentThatIsKilledAndCountsAsSomebodyElsesThen) {
  ServingAgent agent;
  EXPECT_EQ(agent.Stop(SIGKILL).exitCode, 1000 + SIGKILL);
  EXPECT_THAT(Openings(), ElementsAre(OwnOpening(agent.Port())));
  AgentProcess next(agent.Machine(), {L"-p", Testing::kAcceptedPassword, L"-o", agent.Port()},
                    AgentProcess::Input::kPipe, Testing::ScriptedAgentProgram());
  next.WaitFor(English(1021));
  next.Signal(SIGINT);
  const AgentRun run = next.Wait();
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_THAT(run.log, testing::Contains(Testing::InfoLine(
                           L"TempFirewallException::IsFirewallPortEnabled: Firewall exception "
                           L"already exists for port " +
                           agent.Port() + L".")));
  EXPECT_THAT(Openings(), ElementsAre(OwnOpening(agent.Port())));
}

TEST(Firewall, KeepsTheOpeningsOfOthers) {
  ServingAgent agent("embedded-5.5", {}, [](Lab::Instance& machine) {
    Json::Value opening;
    opening["port"] = 443;
    opening["name"] = "Secure Web";
    Json::Value openings;
    openings.append(opening);
    machine.Set("/firewall/openPorts", openings);
  });
  const Opening others{443, IpProtocol::kTcp, L"Secure Web", true};
  EXPECT_THAT(Openings(), ElementsAre(others, OwnOpening(agent.Port())));
  agent.Stop();
  EXPECT_THAT(Openings(), ElementsAre(others));
}

TEST(Firewall, ThatCantBeOpenedKeepsNobodyFromBeingServed) {
  ServingAgent agent("embedded-5.5", {},
                     [](Lab::Instance& machine) { machine.Set("/firewall/managed", true); });
  EXPECT_EQ(agent.Ask({L"deployment-type"}).exitCode, 0);
  EXPECT_THAT(Openings(), IsEmpty());
  const AgentRun run = agent.Stop();
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_THAT(run.log, testing::Contains(Testing::ErrorLine(
                           L"TempFirewallException::AddFirewallPort: Failed to add firewall "
                           L"exception port: 0x80070005")));
}

}  // namespace
}  // namespace Halvard
