// Runs of the agent as it is built against a Kelvane Server of the lab.
#include "process_test.h"
#include "support/kelvane_server.h"

namespace Halvard {
namespace {

using Lab::KelvaneServer;
using Testing::AgentProcess;
using Testing::AgentRun;
using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using Testing::InfoLine;
using testing::IsEmpty;
using testing::Not;
using Testing::RunAgent;
using Testing::WarningLine;

constexpr char kAdministrator[] = "Administrator@ostrel.local";
// What a command line and a terminal take as they come.
constexpr wchar_t kOddPassword[] = L"s3cret <\u8A66&\u00E4>";
constexpr char kOddPasswordBytes[] = "s3cret <\u8A66&\u00E4>";

/// A server that knows the administrator.
Json::Value ServerConfig() {
  Json::Value config = KelvaneServer::UsualConfig();
  config["users"][0]["name"] = kAdministrator;
  config["users"][0]["password"] = kOddPasswordBytes;
  return config;
}

/// The machine of a Kelvane Server whose HTTPS port is the lab server's.
class ServerMachine : public Lab::Instance {
 public:
  explicit ServerMachine(std::uint16_t port) : Lab::Instance("management-5.5") {
    SetRegistryString(L"HKEY_LOCAL_MACHINE\\SOFTWARE\\Ostrel, Inc.\\Ostrel Kelvane",
                      L"HttpsProxyPort", std::to_wstring(port));
    // A run that passes the checks ends where it would write its certificate.
    MakeFolder(L"%LOCALAPPDATA%\\Ostrel\\Halvard\\hv_cert.pem");
  }
};

/// How the log names the server and the user.
std::wstring Place(std::uint16_t port) {
  return L"Host:localhost, Port:" + std::to_wstring(port) +
         L", TunnelPath:, User:Administrator@ostrel.local.";
}

AgentRun RunWith(const Lab::Instance& machine, const std::wstring& password) {
  return RunAgent(machine, {L"-p", password, L"-a", L"x", L"-e", L"C:\\export"});
}

std::vector<std::string> LoginOutcomes(const KelvaneServer& server) {
  std::vector<std::string> outcomes;
  for (const Json::Value& line : server.Events("request")) {
    if (line["operation"] != "Login") continue;
    EXPECT_EQ(line["user"].asString(), kAdministrator);
    EXPECT_EQ(line["locale"].asString(), "en");
    outcomes.push_back(line["outcome"].asString() + line["fault"].asString());
  }
  return outcomes;
}

TEST(KelvaneServerAtStart, RightPasswordIsProvenAndTheInventoryCounted) {
  KelvaneServer server(ServerConfig());
  const ServerMachine machine(server.Port());

  const AgentRun run = RunWith(machine, kOddPassword);
  server.Stop();

  EXPECT_THAT(
      run.log,
      AllOf(Contains(InfoLine(L"ValidateKvAdminCredentials: Successfully validated KV "
                              L"credentials for " +
                              Place(server.Port()))),
            Contains(InfoLine(L"GetNumHosts: Aggregated host count: 12")),
            Contains(InfoLine(L"GetNumVMs: Aggregated vm count: 57")),
            Contains(InfoLine(L"GetInventorySize: Inventory size retrieved. Hosts:12, VMs:57")),
            Contains(InfoLine(L"wmain: Inventory size retrieved. Num of Hosts: 12, "
                              L"Num of VMs: 57"))));
  EXPECT_THAT(run.console, Not(HasSubstr(English(1059))));
  EXPECT_THAT(server.Refusals(), IsEmpty());
  EXPECT_THAT(server.Operations(),
              ElementsAre("RetrieveContent", "Login", "Logout", "RetrieveContent", "Login",
                          "RetrieveProperties", "RetrieveProperties", "Logout"));
  EXPECT_EQ(server.Events("stop").at(0)["openSessions"].asInt(), 0);
  EXPECT_THAT(run.allOutput, Not(HasSubstr(kOddPassword)));
  EXPECT_THAT(server.JournalText(), Not(HasSubstr(kOddPasswordBytes)));
}

TEST(KelvaneServerAtStart, BigInventoryIsCountedPageByPage) {
  Json::Value config = ServerConfig();
  config["inventory"]["hosts"] = 1'001;
  config["inventory"]["machines"] = 2'500;
  config["inventory"]["virtualApps"] = 40;
  const KelvaneServer server(config);
  const ServerMachine machine(server.Port());

  const AgentRun run = RunWith(machine, kOddPassword);

  EXPECT_THAT(run.log, AllOf(Contains(InfoLine(L"GetNumHosts: Aggregated host count: 1000")),
                             Contains(InfoLine(L"GetNumHosts: Aggregated host count: 1001")),
                             Contains(InfoLine(L"GetNumVMs: Aggregated vm count: 1000")),
                             Contains(InfoLine(L"GetNumVMs: Aggregated vm count: 2000")),
                             Contains(InfoLine(L"GetNumVMs: Aggregated vm count: 2500"))));
  EXPECT_THAT(server.Refusals(), IsEmpty());
}

TEST(KelvaneServerAtStart, ThreeWrongPasswordsAtATerminalEndTheRun) {
  const KelvaneServer server(ServerConfig());
  const ServerMachine machine(server.Port());
  AgentProcess agent(machine, {});
  for (const wchar_t* password : {L"wr0ng-1", L"wr0ng-2", L""}) {
    agent.WaitFor(kPasswordPrompt);
    agent.TypeMasked(std::wstring(password) + L"\r");
    agent.WaitFor(English(1058) + L"\n");
  }
  agent.WaitFor(English(1042) + L"\n");
  agent.WaitFor(English(1126) + L"\n");
  agent.Type(L"\r");
  const AgentRun run = agent.Wait();

  EXPECT_EQ(run.exitCode, kFailureCode);
  EXPECT_THAT(run.log, Contains(WarningLine(L"ValidateKvAdminCredentials: Failed to validate KV "
                                            L"credentials. " +
                                            Place(server.Port())))
                           .Times(3));
  EXPECT_THAT(LoginOutcomes(server),
              ElementsAre("faultInvalidLogin", "faultInvalidLogin", "faultInvalidLogin"));
  EXPECT_THAT(server.Events("session"), IsEmpty());
  EXPECT_THAT(server.Refusals(), IsEmpty());
  EXPECT_THAT(run.allOutput, Not(HasSubstr(L"wr0ng")));
}

TEST(KelvaneServerAtStart, WrongPasswordAtATerminalMayBeFollowedByTheRightOne) {
  const KelvaneServer server(ServerConfig());
  const ServerMachine machine(server.Port());
  AgentProcess agent(machine, {});
  agent.WaitFor(kPasswordPrompt);
  agent.TypeMasked(L"wrong\r");
  agent.WaitFor(kPasswordPrompt);
  agent.TypeMasked(std::wstring(kOddPassword) + L"\r");
  agent.WaitForLog(InfoLine(L"GetInventorySize: Inventory size retrieved. Hosts:12, VMs:57"));

  EXPECT_THAT(LoginOutcomes(server), ElementsAre("faultInvalidLogin", "answered", "answered"));
}

TEST(KelvaneServerAtStart, ServerThatIsDownIsARefusedPassword) {
  KelvaneServer server(ServerConfig());
  const ServerMachine machine(server.Port());
  server.Stop();

  const AgentRun run = RunWith(machine, kOddPassword);

  EXPECT_EQ(run.exitCode, kFailureCode);
  EXPECT_THAT(run.console, HasSubstr(English(1058)));
  EXPECT_THAT(run.log, Contains(WarningLine(L"ValidateKvAdminCredentials: Failed to validate KV "
                                            L"credentials. " +
                                            Place(server.Port()))));
}

TEST(KelvaneServerAtStart, FailedLogoutIsARefusedPassword) {
  Json::Value config = ServerConfig();
  config["session"]["requests"] = 0;
  const KelvaneServer server(config);
  const ServerMachine machine(server.Port());

  const AgentRun run = RunWith(machine, kOddPassword);

  EXPECT_EQ(run.exitCode, kFailureCode);
  EXPECT_THAT(run.console, HasSubstr(English(1058)));
  EXPECT_THAT(server.Operations(), ElementsAre("RetrieveContent", "Login", "Logout"));
}

TEST(KelvaneServerAtStart, CountThatBreaksOffIsAnEmptyInventory) {
  Json::Value config = ServerConfig();
  // More than are supported, had the count come to its end.
  config["inventory"]["hosts"] = 1'001;
  // Two requests a session: the logout of the proof; the two pages of hosts.
  config["session"]["requests"] = 2;
  const KelvaneServer server(config);
  const ServerMachine machine(server.Port());

  const AgentRun run = RunWith(machine, kOddPassword);

  EXPECT_THAT(run.console, AllOf(HasSubstr(English(1059) + L"\n"), Not(HasSubstr(English(1060)))));
  EXPECT_THAT(
      run.log,
      AllOf(Contains(InfoLine(L"GetNumHosts: Aggregated host count: 1001")),
            Contains(WarningLine(L"GetInventorySize: Failed to get the KV inventory size. " +
                                 Place(server.Port()))),
            Contains(InfoLine(L"wmain: Inventory size retrieved. Num of Hosts: 0, "
                              L"Num of VMs: 0"))));
  EXPECT_THAT(server.Refusals(), IsEmpty());
}

TEST(KelvaneServerAtStart, CutAnswerIsAFailedCount) {
  Json::Value config = ServerConfig();
  config["faults"][0]["operation"] = "RetrieveProperties";
  config["faults"][0]["kind"] = "cut";
  config["faults"][0]["afterBytes"] = 300;
  const KelvaneServer server(config);
  const ServerMachine machine(server.Port());

  const AgentRun run = RunWith(machine, kOddPassword);

  EXPECT_THAT(run.console, HasSubstr(English(1059) + L"\n"));
  EXPECT_THAT(run.log, Contains(InfoLine(L"wmain: Inventory size retrieved. Num of Hosts: 0, "
                                         L"Num of VMs: 0")));
}

}  // namespace
}  // namespace Halvard
