// Runs of the agent as it is built on machines whose Kelvane Server service has an account.
#include "process_test.h"
#include "support/kelvane_server.h"

namespace Halvard {
namespace {

using Lab::KelvaneServer;
using Testing::AgentProcess;
using Testing::AgentRun;
using testing::Contains;
using Testing::ErrorLine;
using testing::HasSubstr;
using Testing::InfoLine;
using testing::Not;
using Testing::RunAgent;

constexpr wchar_t kAccount[] = L".\\kelvd-service";
constexpr wchar_t kAccountPassword[] = L"Kelvd service 1!";
constexpr wchar_t kAdministratorPassword[] = L"s3cret-admin";

/// A server that knows the administrator.
Json::Value AccountsConfig() {
  Json::Value config = KelvaneServer::UsualConfig();
  config["users"][0]["name"] = "Administrator@ostrel.local";
  config["users"][0]["password"] = "s3cret-admin";
  return config;
}

class ServiceAccountAtStart : public testing::Test {
 protected:
  ServiceAccountAtStart() {
    machine_.Set("/clock/speed", 1000);
    machine_.SetRegistryString(L"HKEY_LOCAL_MACHINE\\SOFTWARE\\Ostrel, Inc.\\Ostrel Kelvane",
                               L"HttpsProxyPort", std::to_wstring(server_.Port()));
  }

  AgentRun Run(const std::vector<std::wstring>& more = {}) {
    std::vector<std::wstring> arguments{L"-p", kAdministratorPassword, L"-e", L"C:\\export"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return RunAgent(machine_, arguments);
  }

  static void ExpectNoSecret(const AgentRun& run) {
    for (const wchar_t* secret : {kAdministratorPassword, kAccountPassword}) {
      EXPECT_THAT(run.allOutput, Not(HasSubstr(secret)));
    }
  }

  const KelvaneServer server_{AccountsConfig()};
  Lab::Instance machine_{"management-5.5-account"};
};

TEST_F(ServiceAccountAtStart, WithoutTheServiceTheRunEnds) {
  machine_.Remove("/services/kelvd");
  machine_.Set("/computer/uiLanguage", int{kGerman});
  const AgentRun run = Run();
  EXPECT_EQ(run.exitCode, kFailureCode);
  EXPECT_EQ(WithoutLogNotice(run.console, kGerman),
            Message(kGerman, 1014) + L"\n" + Message(kGerman, 1127) + L"\n");
  EXPECT_THAT(run.log, Contains(ErrorLine(L"wmain: " + English(1127))));
}

TEST_F(ServiceAccountAtStart, PasswordMustBeGivenWithTheOther) {
  const AgentRun run = Run();
  EXPECT_EQ(run.exitCode, kFailureCode);
  EXPECT_EQ(WithoutLogNotice(run.console),
            English(1014) + L"\n" + English(1158, {kAccount}) + L"\n");
  ExpectNoSecret(run);
}

TEST_F(ServiceAccountAtStart, SizeOfItsConfigurationIsToldToWhomDebugs) {
  const auto size = testing::AllOf(
      testing::Field(&Testing::LogLine::level, 'D'),
      testing::Field(&Testing::LogLine::message,
                     testing::StartsWith(L"QueryServiceConfigW: Buffer size required to retrieve "
                                         L"service account info is ")));
  EXPECT_THAT(Run().log, Not(Contains(size)));
  machine_.SetVariable(L"KVS_HV_DEBUG", L"1");
  EXPECT_THAT(Run().log, Contains(size));
}

TEST_F(ServiceAccountAtStart, WrongPasswordOnTheCommandLineEndsTheRun) {
  const AgentRun run = Run({L"-a", L"wr0ng"});
  EXPECT_EQ(run.exitCode, kFailureCode);
  EXPECT_EQ(WithoutLogNotice(run.console),
            English(1014) + L"\n" + English(1159, {kAccount}) + L"\n");
  EXPECT_THAT(run.log, Contains(ErrorLine(L"RetrieveServiceAccountToken: LogonUser failed for "
                                          L"[kelvd-service]. Error code: 1326.")));
  EXPECT_THAT(run.allOutput, Not(HasSubstr(L"wr0ng")));
}

TEST_F(ServiceAccountAtStart, RightPasswordLetsTheRunGoOn) {
  const AgentRun run = Run({L"-a", kAccountPassword});
  EXPECT_THAT(run.log,
              Contains(InfoLine(L"wmain: Inventory size retrieved. Num of Hosts: 12, Num of VMs: "
                                L"57")));
  ExpectNoSecret(run);
}

TEST_F(ServiceAccountAtStart, DefaultAccountNeedsNoPassword) {
  machine_.Set("/services/kelvd/account", "LocalSystem");
  const AgentRun run = Run();
  EXPECT_THAT(run.log,
              Contains(InfoLine(
                  L"RetrieveKelvdServiceAccountUser: Default KELVD service account detected.")));
  EXPECT_THAT(run.log,
              Contains(InfoLine(L"wmain: Inventory size retrieved. Num of Hosts: 12, Num of VMs: "
                                L"57")));
}

TEST_F(ServiceAccountAtStart, OperatorIsAskedBehindTheAdministratorUpToThreeTimes) {
  AgentProcess agent(machine_, {});
  agent.WaitFor(kPasswordPrompt);
  agent.TypeMasked(std::wstring(kAdministratorPassword) + L"\r");
  agent.WaitFor(English(1128, {kAccount}) + L"\n");
  for (const wchar_t* password : {L"wr0ng-1", L"", L"wr0ng-3"}) {
    agent.WaitFor(English(1134, {kAccount}));
    agent.TypeMasked(std::wstring(password) + L"\r");
    agent.WaitFor(English(1129, {kAccount}) + L"\n");
  }
  agent.WaitFor(English(1130, {L"3"}));
  agent.WaitFor(English(1126));
  agent.Type(L"\r");
  const AgentRun run = agent.Wait();
  EXPECT_EQ(run.exitCode, kFailureCode);
  EXPECT_THAT(run.log, Contains(ErrorLine(L"CollectRequiredUserInput: " + English(1042))));
  EXPECT_THAT(run.allOutput, Not(HasSubstr(L"wr0ng")));
  ExpectNoSecret(run);
}

TEST_F(ServiceAccountAtStart, RightPasswordAtTheThirdTryIsTaken) {
  AgentProcess agent(machine_, {});
  agent.WaitFor(kPasswordPrompt);
  agent.TypeMasked(std::wstring(kAdministratorPassword) + L"\r");
  for (const wchar_t* password : {L"wr0ng-1", L"wr0ng-2", kAccountPassword}) {
    agent.WaitFor(English(1134, {kAccount}));
    agent.TypeMasked(std::wstring(password) + L"\r");
  }
  agent.WaitForLog(InfoLine(L"wmain: Inventory size retrieved. Num of Hosts: 12, Num of VMs: 57"));
}

}  // namespace
}  // namespace Halvard
