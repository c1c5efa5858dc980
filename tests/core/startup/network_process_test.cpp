// Runs in which the system name leads to two adapters of the machine.
#include <csignal>
#include <optional>

#include "process_test.h"
#include "scripted_checks.h"
#include "standins/dnsmasq/dnsmasq.h"
#include "support/private_network.h"

namespace Halvard {
namespace {

using Testing::AgentProcess;
using Testing::AgentRun;
using testing::AllOf;
using testing::Contains;
using testing::EndsWith;
using Testing::ErrorLine;
using testing::HasSubstr;
using Testing::InfoLine;
using Testing::kAcceptedPassword;
using testing::Not;

Json::Value AdapterWith(const char* mac, const char* text) {
  Json::Value adapter;
  adapter["mac"] = mac;
  adapter["ipv6"] = false;
  adapter["addresses"][0]["address"] = text;
  return adapter;
}

class NetworkOfARun : public testing::Test {
 protected:
  NetworkOfARun() : machine_("infrastructure-5.5") {
    machine_.MakeFolder(L"%LOCALAPPDATA%\\Ostrel\\Halvard");
    machine_.SetVariable(Testing::kAddressVariable, L"192.0.2.10");
    machine_.SetVariable(Testing::kNameVariable, L"kv.example");
    machine_.Set("/ports/host", true);
    Json::Value adapters(Json::arrayValue);
    adapters.append(AdapterWith("08:00:27:00:00:01", "192.0.2.10"));
    adapters.append(AdapterWith("08:00:27:00:00:02", "198.51.100.20"));
    machine_.Set("/adapters", adapters);
    Json::Value addresses(Json::arrayValue);
    addresses.append("192.0.2.10");
    addresses.append("198.51.100.20");
    machine_.Set("/hosts/kv.example", addresses);
  }

  /// A run without arguments, up to the choice.
  void StartAtTerminal() {
    agent_.emplace(machine_, std::vector<std::wstring>{}, AgentProcess::Input::kTerminal,
                   Testing::ScriptedAgentProgram());
    agent_->WaitFor(L" password: ");
    agent_->TypeMasked(std::wstring(kAcceptedPassword) + L"\r");
  }
  void Answer(const std::wstring& answer, std::uint16_t language = 1033) {
    agent_->WaitFor(Message(language, 1213, {L"2"}));
    agent_->Type(answer + L"\r");
  }
  AgentRun RunWith(const std::vector<std::wstring>& more) {
    std::vector<std::wstring> arguments{L"-p", kAcceptedPassword};
    arguments.insert(arguments.end(), more.begin(), more.end());
    agent_.emplace(machine_, arguments, AgentProcess::Input::kPipe,
                   Testing::ScriptedAgentProgram());
    agent_->EndInput();
    return agent_->Wait();
  }

  Lab::Instance machine_;
  std::optional<AgentProcess> agent_;
  const std::wstring wrong_ = English(1211, {L"2"}) + L"\n";
};

TEST_F(NetworkOfARun, OperatorChoosesTheAdapterAtTheTerminal) {
  StartAtTerminal();
  Answer(L"x2");
  Answer(L"-1");
  Answer(L"2x");
  agent_->WaitFor(English(1021));
  agent_->Type(L"\x03");
  const AgentRun run = agent_->Wait();
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_THAT(run.console,
              HasSubstr(L"\n" + English(1212) + L"\n   1) 192.0.2.10\n   2) 198.51.100.20\n"));
  EXPECT_THAT(run.log, Contains(InfoLine(L"CollectNetworkToMigrate: Network of [198.51.100.20] "
                                         L"will be migrated.")));
}

TEST_F(NetworkOfARun, ThreeWrongAnswersAreAFailure) {
  StartAtTerminal();
  Answer(L"0");
  Answer(L"3");
  Answer(L"x");
  agent_->WaitFor(English(1126));
  agent_->Type(L"\r");
  const AgentRun run = agent_->Wait();
  EXPECT_EQ(run.exitCode, kFailureCode);
  EXPECT_THAT(WithoutLogNotice(run.console), HasSubstr(wrong_ + English(1126)));
  EXPECT_THAT(run.console, Not(HasSubstr(English(1021))));
  EXPECT_EQ(StatusOf(machine_)["error"].asString(), WideToUtf8(English(1211, {L"2"})));
}

TEST_F(NetworkOfARun, DialogueSpeaksTheLanguageOfTheMachine) {
  machine_.Set("/computer/uiLanguage", 1031);
  agent_.emplace(machine_, std::vector<std::wstring>{}, AgentProcess::Input::kTerminal,
                 Testing::ScriptedAgentProgram());
  agent_->WaitFor(Message(1031, 1006, {L"Administrator@ostrel.local"}));
  agent_->TypeMasked(std::wstring(kAcceptedPassword) + L"\r");
  for (int i = 0; i < 3; ++i) Answer(L"x", 1031);
  agent_->WaitFor(Message(1031, 1126));
  agent_->Type(L"\r");
  const AgentRun run = agent_->Wait();
  EXPECT_EQ(run.exitCode, kFailureCode);
  EXPECT_THAT(run.console, AllOf(HasSubstr(Message(1031, 1212)),
                                 HasSubstr(Message(1031, 1211, {L"2"})), Not(HasSubstr(wrong_))));
}

TEST_F(NetworkOfARun, OptionChoosesTheAdapter) {
  const std::vector<std::wstring> arguments{L"-p", kAcceptedPassword, L"-i", L"198.51.100.20"};
  AgentProcess agent(machine_, arguments, AgentProcess::Input::kPipe,
                     Testing::ScriptedAgentProgram());
  agent.WaitFor(English(1021));
  agent.Signal(SIGINT);
  const AgentRun run = agent.Wait();
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_THAT(run.log, Contains(InfoLine(L"CollectNetworkToMigrate: Network of [198.51.100.20] "
                                         L"will be migrated.")));
}

TEST_F(NetworkOfARun, MayBeThatOfTheHost) {
  if (!Lab::Dnsmasq::Installed()) GTEST_SKIP() << "Debian's package dnsmasq-base isn't installed";
  machine_.Set("/adapters", "host");
  machine_.Set("/dns", "host");
  machine_.Remove("/hosts");
  AgentRun run;
  const std::string obstacle = Lab::RunInPrivateNetwork([&] {
    Lab::Dnsmasq::Settings names;
    names.port = 53;
    names.hosts = {{"kv.example", "192.0.2.10"}, {"kv.example", "198.51.100.20"}};
    const Lab::Dnsmasq server(names);
    AgentProcess agent(machine_, {L"-p", kAcceptedPassword, L"-i", L"198.51.100.20"},
                       AgentProcess::Input::kPipe, Testing::ScriptedAgentProgram());
    agent.WaitFor(English(1021));
    agent.Signal(SIGINT);
    run = agent.Wait();
  });
  if (!obstacle.empty()) GTEST_SKIP() << obstacle;
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_THAT(run.log, Contains(InfoLine(L"CollectNetworkToMigrate: Network of [198.51.100.20] "
                                         L"will be migrated.")));
}

TEST_F(NetworkOfARun, OptionThatIsNoneOfTheAddressesIsAFailure) {
  const AgentRun run = RunWith({L"--hv_ip", L"203.0.113.1"});
  EXPECT_EQ(run.exitCode, kFailureCode);
  const std::wstring text = English(1210, {L"192.0.2.10, 198.51.100.20"});
  EXPECT_THAT(WithoutLogNotice(run.console), EndsWith(text + L"\n"));
  EXPECT_THAT(run.log, Contains(InfoLine(L"CollectNetworkToMigrate: " + text)));
}

TEST_F(NetworkOfARun, MissingOptionIsAFailureInTheLanguageOfTheMachine) {
  machine_.Set("/computer/uiLanguage", 1041);
  const AgentRun run = RunWith({});
  EXPECT_EQ(run.exitCode, kFailureCode);
  EXPECT_THAT(WithoutLogNotice(run.console, 1041), EndsWith(Message(1041, 1214) + L"\n"));
  EXPECT_THAT(run.log, Contains(ErrorLine(L"CollectNetworkToMigrate: " + English(1214))));
}

TEST_F(NetworkOfARun, RefusedOptionIsAFailureInTheLanguageOfTheMachine) {
  machine_.Set("/computer/uiLanguage", 1036);
  const AgentRun run = RunWith({L"-i", L"192.0.2.010"});
  EXPECT_EQ(run.exitCode, kFailureCode);
  const std::vector<std::wstring> addresses{L"192.0.2.10, 198.51.100.20"};
  EXPECT_THAT(WithoutLogNotice(run.console, 1036),
              EndsWith(Message(1036, 1210, addresses) + L"\n"));
  EXPECT_THAT(run.log, Contains(InfoLine(L"CollectNetworkToMigrate: " + English(1210, addresses))));
  EXPECT_EQ(StatusOf(machine_)["error"].asString(), WideToUtf8(English(1210, addresses)));
}

TEST_F(NetworkOfARun, NameOfAnotherMachineIsAFailure) {
  machine_.Set("/hosts/kv.example/0", "203.0.113.1");
  machine_.Set("/hosts/kv.example/1", "203.0.113.2");
  const AgentRun run = RunWith({});
  EXPECT_EQ(run.exitCode, kFailureCode);
  EXPECT_THAT(WithoutLogNotice(run.console), EndsWith(English(1064) + L"\n"));
}

}  // namespace
}  // namespace Halvard
