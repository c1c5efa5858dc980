#include <algorithm>
#include <iterator>

#include "process_test.h"

namespace Halvard {
namespace {

using Testing::AgentRun;
using testing::Contains;
using Testing::ErrorLine;
using testing::HasSubstr;
using Testing::RunAgent;

/// How a machine's refusal reads: the console's text is in the machine's language.
struct Refusal {
  const char* name;
  const char* machine;
  void (*change)(Lab::Instance&);
  std::wstring (*console)(std::uint16_t language);
  std::wstring logLine;
};

void PrintTo(const Refusal& refusal, std::ostream* stream) { *stream << refusal.name; }

std::wstring Rejected(std::uint16_t language, std::uint16_t id, const std::wstring& version) {
  return Message(language, 1133) + Message(language, id, {version, L"6.0"}) + L" " +
         Message(language, 1122, {L"6.0"});
}

constexpr wchar_t kSsoKey[] =
    L"HKEY_LOCAL_MACHINE\\SOFTWARE\\Ostrel, Inc.\\Ostrel Infrastructure\\SSOServer";
constexpr wchar_t kKelvaneKey[] = L"HKEY_LOCAL_MACHINE\\SOFTWARE\\Ostrel, Inc.\\Ostrel Kelvane";
constexpr wchar_t kParameters[] =
    L"C:\\ProgramData\\Ostrel\\KelvaneServer\\cfg\\install-defaults\\";

void LeaveAsItIs(Lab::Instance&) {}

void RemoveDeploymentType(Lab::Instance& machine) {
  machine.RemoveRegistryValue(L"HKEY_LOCAL_MACHINE\\SOFTWARE\\Ostrel, Inc.\\Kelvane Server",
                              L"INSTALL_TYPE");
  const std::wstring file = L"C:\\ProgramData\\Ostrel\\KelvaneServer\\cfg\\deployment.node.type";
  if (machine.FileExists(file)) machine.RemoveFile(file);
}

const Refusal kRefusals[] = {
    {"NothingInstalled", "windows-server", LeaveAsItIs,
     [](std::uint16_t language) {
       return Message(language, 1122, {L"6.0"}) + L"\n" + Message(language, 1123);
     },
     L"DiscoverInstalledProducts: " + English(1123)},
    {"UpdateManagerAlone", "update-manager", LeaveAsItIs,
     [](std::uint16_t language) {
       return Message(language, 1122, {L"6.0"}) + L"\n" + Message(language, 1123);
     },
     L"DiscoverInstalledProducts: " + English(1123)},
    {"SingleSignOn51", "sso-5.1", LeaveAsItIs,
     [](std::uint16_t language) { return Message(language, 1115, {L"6.0"}); },
     L"DiscoverInstalledProducts: " + English(1115, {L"6.0"})},
    {"OlderKelvaneServer", "kelvane-5.1", LeaveAsItIs,
     [](std::uint16_t language) { return Rejected(language, 1119, L"5.1.0.8112"); },
     L"DiscoverInstalledProducts: " + English(1119, {L"5.1.0.8112", L"6.0"})},
    {"PlatformInstaller60", "platform-6.0", LeaveAsItIs,
     [](std::uint16_t language) { return Rejected(language, 1116, L"6.0.0.30191"); },
     L"DiscoverInstalledProducts: " + English(1116, {L"6.0.0.30191", L"6.0"})},
    {"NoKelvanePort", "management-5.5",
     [](Lab::Instance& machine) { machine.RemoveRegistryValue(kKelvaneKey, L"HttpsProxyPort"); },
     [](std::uint16_t language) { return Message(language, 1120); },
     L"DiscoverInstalledProducts: " + English(1120)},
    {"NoSingleSignOnPort", "infrastructure-5.5",
     [](Lab::Instance& machine) { machine.RemoveRegistryValue(kSsoKey, L"HttpsPort"); },
     [](std::uint16_t language) { return Message(language, 1121); },
     L"DiscoverInstalledProducts: " + English(1121)},
    {"NoDeploymentType", "embedded-platform", RemoveDeploymentType,
     [](std::uint16_t language) { return Message(language, 1117); },
     L"DiscoverInstalledProducts: " + English(1117)},
    {"NoProxyPort", "embedded-platform",
     [](Lab::Instance& machine) {
       machine.WriteFile(std::wstring(kParameters) + L"rhttpproxy.ext.port2", "\n443\n");
     },
     [](std::uint16_t language) { return Message(language, 1118); },
     L"DiscoverInstalledProducts: " + English(1118)},
    {"NoDomain", "embedded-platform",
     [](Lab::Instance& machine) {
       machine.RemoveFile(std::wstring(kParameters) + L"ostreldir.domain-name");
     },
     [](std::uint16_t language) { return Message(language, 1131); },
     L"DiscoverInstalledProducts: " + English(1131)},
    {"BlockingExtension", "infrastructure-5.5-blocked", LeaveAsItIs,
     [](std::uint16_t language) {
       return Message(language, 1149, {L"\nOstrel Kelvane Ledger Service 5.5.0.2210"}) + L"\n" +
              Message(language, 1045);
     },
     L"DiscoverExtensionsWithSSO: " +
         English(1149, {L"\nOstrel Kelvane Ledger Service 5.5.0.2210"})},
};

class DiscoveryRefusal : public testing::TestWithParam<Refusal> {};

TEST_P(DiscoveryRefusal, SpeaksTheMachinesLanguageAndLogsEnglish) {
  for (const std::uint16_t language : {kEnglish, kGerman}) {
    Lab::Instance machine(GetParam().machine);
    machine.Set("/computer/uiLanguage", int{language});
    GetParam().change(machine);
    const AgentRun run = RunAgent(machine, {L"-p", L"s3cret"});
    EXPECT_EQ(run.exitCode, kFailureCode);
    EXPECT_EQ(WithoutLogNotice(run.console, language),
              Message(language, 1014) + L"\n" + GetParam().console(language) + L"\n");
    EXPECT_THAT(run.log, Contains(ErrorLine(GetParam().logLine)));
    EXPECT_THAT(run.allOutput, testing::Not(HasSubstr(L"s3cret")));
  }
}

INSTANTIATE_TEST_SUITE_P(Machines, DiscoveryRefusal, testing::ValuesIn(kRefusals),
                         [](const auto& row) { return row.param.name; });

TEST(ExtensionsAtStart, AreLookedForWithALineForWhomDebugs) {
  Lab::Instance machine("infrastructure-5.5-blocked");
  const Testing::LogLine line = Testing::DebugLine(
      L"DiscoverExtensionsWithSSO: Discovering if any products/extensions used by KV are installed on BVC machine.");
  EXPECT_THAT(RunAgent(machine, {L"-p", L"s3cret"}).log, testing::Not(Contains(line)));
  machine.SetVariable(L"KVS_HV_DEBUG", L"1");
  const std::vector<Testing::LogLine> log = RunAgent(machine, {L"-p", L"s3cret"}).log;
  const auto told = std::ranges::find(log, line);
  ASSERT_NE(told, log.end());
  EXPECT_EQ(
      std::next(told)->message,
      L"GetProductCodeFromUpgradeCode: No products found for UpgradeCode {A0B1C2D3-5555-4A55-8A55-0000000000E5}");
}

}  // namespace
}  // namespace Halvard
