// Whole runs of the agent as it is built that end because of the machine's name, time or adapters:
// in two languages, with arguments and at a terminal.
#include <tuple>

#include "process_test.h"
#include "support/kelvane_server.h"

namespace Halvard {
namespace {

using Lab::KelvaneServer;
using Testing::AgentProcess;
using Testing::AgentRun;
using testing::Contains;
using testing::EndsWith;
using Testing::ErrorLine;
using testing::HasSubstr;
using testing::Not;

constexpr wchar_t kPassword[] = L"s3cret-unmistakable-6";
constexpr wchar_t kTimeServiceKey[] =
    L"HKEY_LOCAL_MACHINE\\SYSTEM\\CurrentControlSet\\Services\\W32Time\\Parameters";
constexpr std::uint16_t kJapanese = 1041;

/// The console's last words in a language, with line ends.
using Words = std::wstring (*)(std::uint16_t language);

struct Refusal {
  const char* name;
  void (*spoil)(Lab::Instance& machine);
  Words words;
  /// What the status file says, and the line in the log. In English, whatever the language.
  std::wstring (*error)();
  std::wstring (*line)();
};

const Refusal kRefusals[] = {
    {"SystemName",
     [](Lab::Instance& machine) {
       // Its name is unknown to DNS, and the address of its certificates is lent.
       machine.Set("/dns/names", Json::Value(Json::objectValue));
       machine.Set("/adapters/0/dhcp", true);
     },
     [](std::uint16_t language) {
       return Message(language, 1052) + L"\n" + Message(language, 1109) + L"\n" +
              Message(language, 1110) + L"\n" + Message(language, 1053) + L"\n";
     },
     [] { return std::wstring(L"Failed to validate system name."); },
     [] { return L"ParsePreUpgradeOutput: " + English(1109); }},
    {"TimeServers",
     [](Lab::Instance& machine) {
       machine.SetRegistryString(kTimeServiceKey, L"Type", L"NTP");
       machine.SetRegistryString(kTimeServiceKey, L"NtpServer", L"dead.example,0x9 gone.example");
     },
     [](std::uint16_t language) {
       return Message(language, 1154, {L"dead.example,gone.example"}) + L"\n";
     },
     [] { return std::wstring(L"Failed to validate NTP server."); },
     [] { return L"GetNTPServer: " + English(1154, {L"dead.example,gone.example"}); }},
    {"AddressThatIsNotForDns",
     [](Lab::Instance& machine) { machine.Set("/adapters/0/addresses/1/dnsEligible", false); },
     [](std::uint16_t language) {
       return Message(language, 1010) + L"\n" + Message(language, 1064) + L"\n";
     },
     [] { return English(1064); },
     [] {
       return std::wstring(
           L"CollectNetworkToMigrate: Failed to collect network settings as there is no dns "
           L"routableIP address on this machine");
     }},
    {"HardwareAddress", [](Lab::Instance& machine) { machine.Set("/adapters/0/mac", ""); },
     [](std::uint16_t language) {
       return Message(language, 1010) + L"\n" + Message(language, 1133) + Message(language, 1104) +
              L"\n";
     },
     [] { return English(1064); }, [] { return L"CheckDefaultGateway: " + English(1064); }},
    {"Gateway", [](Lab::Instance& machine) { machine.Remove("/adapters/0/gateways"); },
     [](std::uint16_t language) {
       return Message(language, 1010) + L"\n" + Message(language, 1133) +
              Message(language, 1217, {L"192.0.2.10"}) + L"\n" + Message(language, 1054) +
              Message(language, 1218) + L"\n";
     },
     [] { return English(1217, {L"192.0.2.10"}); },
     [] { return L"CheckDefaultGateway: " + English(1217, {L"192.0.2.10"}); }},
};

enum Mode { kArguments, kTerminal };

class NetworkRefusal : public testing::TestWithParam<std::tuple<Refusal, std::uint16_t, Mode>> {
 protected:
  NetworkRefusal() {
    machine_.SetRegistryString(L"HKEY_LOCAL_MACHINE\\SOFTWARE\\Ostrel, Inc.\\Ostrel Kelvane",
                               L"HttpsProxyPort", std::to_wstring(server_.Port()));
    machine_.Set("/computer/uiLanguage", language_);
    // A run that isn't refused ends where it would write its certificate.
    machine_.MakeFolder(L"%LOCALAPPDATA%\\Ostrel\\Halvard\\hv_cert.pem");
  }

  static Json::Value Config() {
    Json::Value config = KelvaneServer::UsualConfig();
    config["users"][0]["name"] = "Administrator@ostrel.local";
    config["users"][0]["password"] = WideToUtf8(kPassword);
    return config;
  }

  AgentRun Run(Mode mode) const {
    if (mode == kArguments) return Testing::RunAgent(machine_, {L"-p", kPassword});
    AgentProcess agent(machine_, {});
    agent.WaitFor(Message(language_, 1006, {L"Administrator@ostrel.local"}));
    agent.TypeMasked(std::wstring(kPassword) + L"\r");
    agent.WaitFor(Message(language_, 1126));
    agent.Type(L"\r");
    return agent.Wait();
  }

  const std::uint16_t language_ = std::get<1>(GetParam());
  const KelvaneServer server_{Config()};
  Lab::Instance machine_{"embedded-5.5"};
};

TEST_P(NetworkRefusal, IsToldToTheOperatorTheLogAndWhoeverStartedTheRun) {
  const auto& [refusal, language, mode] = GetParam();
  refusal.spoil(machine_);
  const AgentRun run = Run(mode);
  EXPECT_EQ(run.exitCode, kFailureCode);
  const std::wstring console = WithoutLogNotice(run.console, language);
  if (mode == kArguments) {
    EXPECT_THAT(console, EndsWith(refusal.words(language)));
    EXPECT_THAT(console, Not(HasSubstr(Message(language, 1126))));
  } else {
    EXPECT_THAT(console, HasSubstr(refusal.words(language) + Message(language, 1126)));
  }
  EXPECT_THAT(run.log, Contains(ErrorLine(refusal.line())));
  EXPECT_EQ(StatusOf(machine_), Status("fail", refusal.error(), "9123"));
  EXPECT_THAT(run.allOutput, Not(HasSubstr(kPassword)));
}

std::string RunName(const testing::TestParamInfo<std::tuple<Refusal, std::uint16_t, Mode>>& info) {
  const auto& [refusal, language, mode] = info.param;
  return std::string(refusal.name) + (language == kEnglish ? "English" : "Japanese") +
         (mode == kArguments ? "WithArguments" : "AtATerminal");
}

INSTANTIATE_TEST_SUITE_P(By, NetworkRefusal,
                         testing::Combine(testing::ValuesIn(kRefusals),
                                          testing::Values(kEnglish, kJapanese),
                                          testing::Values(kArguments, kTerminal)),
                         RunName);

}  // namespace
}  // namespace Halvard
