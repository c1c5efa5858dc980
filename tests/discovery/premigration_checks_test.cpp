#include "discovery/premigration_checks.h"

#include <json/reader.h>

#include <optional>
#include <stdexcept>

#include "core/core_test.h"
#include "core/startup/process_test.h"
#include "network/network_configuration.h"
#include "network/time_servers.h"
#include "runner/preupgrade_phase.h"
#include "security/controller_version.h"
#include "security/export_directory.h"
#include "support/console_capture.h"

namespace Halvard {
namespace {

/// What the checks find, and what they were asked, in order.
struct Findings {
  int runnerStatus = 0;
  Json::Value runnerOutput;
  std::wstring pnidError;
  /// Folders that will do.
  std::set<std::wstring> goodFolders{L"C:\\export"};
  /// Without one the time servers will do.
  std::optional<std::string> timeServerError;
  std::optional<std::wstring> controllerVersion;
  bool isCollected = true;
  Json::Value identity;
  std::vector<std::wstring> asked;
};

Findings gFindings;

/// One component without findings.
constexpr char kCleanOutput[] = R"([{"name": "com.ostrel.sso"}])";

Json::Value Parse(const std::string& text) {
  Json::Value value;
  if (!Json::Reader().parse(text, value)) throw std::invalid_argument("no JSON: " + text);
  return value;
}

}  // namespace

int Runner::LaunchUpgradeRunnerPreUpgradePhase(Json::Value& output) {
  gFindings.asked.push_back(L"runner");
  output = gFindings.runnerOutput;
  gProperties[L"PNID_ERROR"] = gFindings.pnidError;
  if (output.isString()) Json::throwRuntimeError(output.asString());
  return gFindings.runnerStatus;
}

bool Security::ValidateExportDir() {
  const std::wstring folder = gProperties[L"EXPORT_DIR"];
  gFindings.asked.push_back(L"folder " + folder);
  return gFindings.goodFolders.contains(folder);
}

bool Network::GetNTPServer(std::wstring& /*servers*/, std::wstring& /*type*/, Json::Value& reply) {
  gFindings.asked.push_back(L"time");
  if (gFindings.timeServerError) reply["error"] = *gFindings.timeServerError;
  return !gFindings.timeServerError;
}

bool Security::RetrieveBVCMajorMinorVersion(const std::wstring& host, std::wstring& version) {
  gFindings.asked.push_back(L"version of " + host);
  version = gFindings.controllerVersion.value_or(L"");
  return gFindings.controllerVersion.has_value();
}

bool Network::CollectNetworkIdentity(const std::wstring& systemName, Json::Value& reply) {
  gFindings.asked.push_back(L"network of " + systemName);
  reply = gFindings.identity;
  return gFindings.isCollected;
}

namespace Discovery {
namespace {

using Testing::ConsoleCapture;
using testing::Contains;
using testing::ElementsAre;
using Testing::ErrorLine;
using testing::HasSubstr;
using Testing::InfoLine;
using Testing::OwnLog;
using Testing::PipedInput;

class PreMigrationChecks : public CoreTest {
 protected:
  PreMigrationChecks() {
    gFindings = {};
    gFindings.runnerOutput = Parse(kCleanOutput);
    gProperties[L"MIGRATION_TYPE"] = L"embedded";
    gProperties[L"EXPORT_DIR"] = L"C:\\export";
    gProperties[L"TARGET_VERSION"] = L"6.0";
    gProperties[L"INFRA_NODE_ADDRESS"] = L"sso.test";
    gProperties[L"APP_NET_PNID"] = L"kv.test";
  }

  /// \param argc  2 for a run with arguments.
  bool Run(int argc = 2) {
    const ConsoleCapture console;
    const bool passed = RunPreMigrationChecks(argc);
    console_ = console.Text();
    return passed;
  }

  bool RunGatewayCheck() {
    const ConsoleCapture console;
    const bool passed = CheckDefaultGateway();
    console_ = console.Text();
    return passed;
  }

  static std::wstring Property(const wchar_t* name) { return gProperties[name]; }
  static std::wstring InitError() { return Property(L"HV_INIT_ERROR"); }

  const std::wstring begin_ = English(1044) + L"\n";
  const std::wstring end_ = English(1010) + L"\n";
  std::wstring console_;
};

TEST_F(PreMigrationChecks, PassInOrder) {
  EXPECT_TRUE(Run());
  EXPECT_EQ(console_, begin_ + end_);
  EXPECT_THAT(gFindings.asked, ElementsAre(L"runner", L"folder C:\\export", L"time"));
  EXPECT_EQ(InitError(), L"");
  EXPECT_EQ(Property(L"HV_WARNING_MESSAGES"), L"");
  const std::vector<Testing::LogLine> log = OwnLog();
  EXPECT_EQ(log[0], InfoLine(L"RunPreMigrationChecks: " + English(1044)));
  EXPECT_EQ(log[1],
            InfoLine(L"RunPreMigrationChecks: Upgrade Runner prechecks returned status: 0"));
  EXPECT_EQ(log.back(), InfoLine(L"RunPreMigrationChecks: " + English(1010)));
}

TEST_F(PreMigrationChecks, SpeakTheMachinesLanguageAndLogInEnglish) {
  SpeakMachineLanguage(1041);
  EXPECT_TRUE(Run());
  EXPECT_EQ(console_, Message(1041, 1044) + L"\n" + Message(1041, 1010) + L"\n");
  EXPECT_THAT(OwnLog(), Contains(InfoLine(L"RunPreMigrationChecks: " + English(1044))));
}

TEST_F(PreMigrationChecks, ARunnerThatGaveNothingEndsTheRun) {
  for (const char* text : {"null", "[]", "{}"}) {
    gFindings.runnerOutput = Parse(std::string("[") + text + "]")[0];
    gFindings.asked.clear();
    EXPECT_FALSE(Run()) << text;
    EXPECT_EQ(console_, begin_ + English(1091) + L"\n");
    EXPECT_EQ(InitError(), L"Failed to run Pre-Migration checks.");
    EXPECT_THAT(gFindings.asked, ElementsAre(L"runner"));
  }
}

constexpr char kErrorAndWarning[] = R"([{"requirements": {"requirementMismatchSpecs": [
  {"text": {"localized": "E"}, "severity": "ERROR"}, {"text": {"localized": "W"}}]}}])";

TEST_F(PreMigrationChecks, ReportedErrorsComeBeforeTheRunnersStatus) {
  gFindings.runnerOutput = Parse(kErrorAndWarning);
  gFindings.runnerStatus = 1603;
  EXPECT_FALSE(Run());
  EXPECT_EQ(console_, begin_ + English(1052) + L"\nError: E\n");
  EXPECT_EQ(InitError(), L"Pre-migration checks failed.");
  EXPECT_EQ(Property(L"HV_WARNING_MESSAGES"), L"");
  EXPECT_THAT(gFindings.asked, ElementsAre(L"runner"));
  EXPECT_THAT(
      OwnLog(),
      Contains(InfoLine(L"RunPreMigrationChecks: Upgrade Runner prechecks returned status: 1603")));
}

constexpr char kWarning[] =
    R"([{"requirements": {"requirementMismatchSpecs": [{"text": {"localized": "W"}}]}}])";

TEST_F(PreMigrationChecks, AFailedRunnerWithoutErrorsEndsTheRun) {
  gFindings.runnerOutput = Parse(kWarning);
  gFindings.runnerStatus = 1603;
  EXPECT_FALSE(Run());
  EXPECT_EQ(console_, begin_ + English(1091) + L"\n");
  EXPECT_EQ(InitError(), L"Failed to run Pre-Migration checks.");
  EXPECT_EQ(Property(L"HV_WARNING_MESSAGES"), L"");
}

TEST_F(PreMigrationChecks, WarningsAreKeptForLater) {
  gFindings.runnerOutput = Parse(kWarning);
  gProperties[L"HV_WARNING_MESSAGES"] = L"earlier\n";
  EXPECT_TRUE(Run());
  EXPECT_EQ(console_, begin_ + end_);
  EXPECT_EQ(Property(L"HV_WARNING_MESSAGES"), L"earlier\nWarning: W\n");
}

TEST_F(PreMigrationChecks, AnOutputThatCannotBeReadIsAsGoodAsNone) {
  for (const char* text : {R"(["text"])", R"([{"name": []}])", R"({"name": "x"})"}) {
    gFindings.runnerOutput = Parse(text);
    EXPECT_FALSE(Run()) << text;
    EXPECT_EQ(console_, begin_ + English(1091) + L"\n");
    EXPECT_EQ(InitError(), L"Failed to run Pre-Migration checks.");
  }
  gFindings.runnerOutput = Json::Value("the phase threw");
  EXPECT_FALSE(Run());
  EXPECT_EQ(console_, begin_ + English(1091) + L"\n");
  EXPECT_EQ(OwnLog().back(),
            ErrorLine(L"RunPreMigrationChecks: The output of the Upgrade Runner can't be read: the "
                      L"phase threw"));
}

TEST_F(PreMigrationChecks, AFolderFromTheCommandLineHasOneTry) {
  gProperties[L"EXPORT_DIR"] = L"Q:\\";
  const PipedInput input("C:\\export\n");
  for (const int argc : {2, 3, 0}) {
    gFindings.asked.clear();
    EXPECT_FALSE(Run(argc));
    EXPECT_EQ(console_, begin_ + English(1008) + L"\n");
    EXPECT_EQ(InitError(), English(1008));
    EXPECT_THAT(gFindings.asked, ElementsAre(L"runner", L"folder Q:\\"));
    EXPECT_EQ(OwnLog().back(), ErrorLine(L"RunPreMigrationChecks: " + English(1008)));
  }
}

TEST_F(PreMigrationChecks, AnOperatorHasThreeFurtherTries) {
  gProperties[L"EXPORT_DIR"] = L"Q:\\";
  const PipedInput input("\nD:\\\u00e4 \u6771\nC:\\export\nnot read\n");
  EXPECT_TRUE(Run(1));
  EXPECT_EQ(console_, begin_ + English(1009) + English(1009) + English(1009) + end_);
  EXPECT_THAT(gFindings.asked,
              ElementsAre(L"runner", L"folder Q:\\", L"folder ", L"folder D:\\\u00e4 \u6771",
                          L"folder C:\\export", L"time"));
  EXPECT_EQ(Property(L"EXPORT_DIR"), L"C:\\export");
  EXPECT_EQ(InitError(), L"");
}

TEST_F(PreMigrationChecks, TheFourthBadFolderEndsTheRun) {
  gProperties[L"EXPORT_DIR"] = L"1";
  const PipedInput input("2\n3\n4\nC:\\export\n");
  EXPECT_FALSE(Run(1));
  EXPECT_EQ(console_,
            begin_ + English(1009) + English(1009) + English(1009) + English(1008) + L"\n");
  EXPECT_THAT(gFindings.asked,
              ElementsAre(L"runner", L"folder 1", L"folder 2", L"folder 3", L"folder 4"));
  EXPECT_EQ(Property(L"EXPORT_DIR"), L"4");
  EXPECT_EQ(InitError(), English(1008));
}

TEST_F(PreMigrationChecks, ARefusedSystemNameEndsTheRun) {
  gFindings.pnidError = L"Error: name\nResolution: mend";
  EXPECT_FALSE(Run());
  EXPECT_EQ(console_,
            begin_ + English(1052) + L"\nError: name\nResolution: mend\n" + English(1053) + L"\n");
  EXPECT_EQ(InitError(), L"Failed to validate system name.");
  EXPECT_THAT(gFindings.asked, ElementsAre(L"runner", L"folder C:\\export"));
}

TEST_F(PreMigrationChecks, DeadTimeServersEndTheRun) {
  gFindings.timeServerError = "Error: \xC3\xA4\nResolution: b";
  EXPECT_FALSE(Run());
  EXPECT_EQ(console_, begin_ + L"Error: \u00e4\nResolution: b\n");
  EXPECT_EQ(InitError(), L"Failed to validate NTP server.");
}

TEST_F(PreMigrationChecks, AnUpdateManagerNeedsTheRunnerAndTheFolderAlone) {
  gProperties[L"MIGRATION_TYPE"] = L"tum";
  gFindings.pnidError = L"not looked at";
  EXPECT_TRUE(Run());
  EXPECT_EQ(console_, begin_ + end_);
  EXPECT_THAT(gFindings.asked, ElementsAre(L"runner", L"folder C:\\export"));
}

TEST_F(PreMigrationChecks, OnlyAServerWithARemoteNodeNeedsItsVersion) {
  gProperties[L"MIGRATION_TYPE"] = L"infrastructure";
  EXPECT_TRUE(Run());
  gProperties[L"MIGRATION_TYPE"] = L"management";
  gFindings.asked.clear();
  gFindings.controllerVersion = L"6.0";
  EXPECT_TRUE(Run());
  EXPECT_EQ(console_, begin_ + end_);
  EXPECT_THAT(gFindings.asked,
              ElementsAre(L"runner", L"folder C:\\export", L"time", L"version of sso.test"));
  EXPECT_THAT(
      OwnLog(),
      Contains(InfoLine(
          L"RunKvSsoBvcPreMigrationChecks: bvcVersion: [6.000000], targetVersion: [6.000000]")));
}

TEST_F(PreMigrationChecks, ANodeThatDoesNotTellItsVersionEndsTheRun) {
  gProperties[L"MIGRATION_TYPE"] = L"management";
  EXPECT_FALSE(Run());
  EXPECT_EQ(console_, begin_ + English(1041) + L"\n");
  EXPECT_EQ(InitError(), L"Failed to retrieve the version info from remote Belvar Controller.");
}

struct Version {
  const wchar_t* version;
  /// 0 when it will do.
  std::uint16_t message;
  /// The version that the message names.
  const wchar_t* named;
};

class NodeVersion : public PreMigrationChecks, public testing::WithParamInterface<Version> {};

TEST_P(NodeVersion, HasToBeTheTargets) {
  const auto& [version, message, named] = GetParam();
  gProperties[L"MIGRATION_TYPE"] = L"management";
  gFindings.controllerVersion = version;
  EXPECT_EQ(Run(), message == 0);
  if (message == 0) return;
  const std::wstring text = English(message, {L"sso.test", named, named});
  EXPECT_EQ(console_, begin_ + text + L"\n");
  EXPECT_EQ(InitError(), text);
  EXPECT_EQ(OwnLog().back(), ErrorLine(L"RunKvSsoBvcPreMigrationChecks: " + text));
}

INSTANTIATE_TEST_SUITE_P(Versions, NodeVersion,
                         testing::Values(Version{L"6.0", 0, L""}, Version{L"6", 0, L""},
                                         Version{L" 6.0", 0, L""}, Version{L"6.00000001", 0, L""},
                                         Version{L"5.5", 1039, L"6.0"},
                                         Version{L"5.9", 1039, L"6.0"}, Version{L"", 1039, L"6.0"},
                                         Version{L"new", 1039, L"6.0"}, Version{L"6,5", 0, L""},
                                         Version{L"6.5", 1040, L"6.5"},
                                         Version{L"10.", 1040, L"10."},
                                         Version{L"7.0", 1040, L"7.0"}));

TEST_F(PreMigrationChecks, ANetworkWithAGatewayWillDo) {
  gFindings.identity = Parse(R"({"config_ipaddr4": "192.0.2.10", "config_gateway4": "192.0.2.1"})");
  EXPECT_TRUE(RunGatewayCheck());
  EXPECT_EQ(console_, L"");
  EXPECT_THAT(gFindings.asked, ElementsAre(L"network of kv.test"));
}

TEST_F(PreMigrationChecks, OnlyIPv4NeedsAGateway) {
  gFindings.identity = Parse(
      R"({"config_ipaddr4": "", "config_gateway4": "", "config_ipaddr6": "fd00::1", "config_gateway6": ""})");
  EXPECT_TRUE(RunGatewayCheck());
  gFindings.identity = Json::Value();
  EXPECT_TRUE(RunGatewayCheck());
}

TEST_F(PreMigrationChecks, ANetworkWithoutAGatewayEndsTheRun) {
  gFindings.identity = Parse(R"({"config_ipaddr4": "192.0.2.10", "config_gateway4": ""})");
  EXPECT_FALSE(RunGatewayCheck());
  const std::wstring text = English(1217, {L"192.0.2.10"});
  EXPECT_EQ(console_, L"Error: " + text + L"\nResolution: " + English(1218) + L"\n");
  EXPECT_EQ(InitError(), text);
  EXPECT_THAT(OwnLog(), ElementsAre(ErrorLine(L"CheckDefaultGateway: " + text)));
}

TEST_F(PreMigrationChecks, ANetworkThatCannotBeCollectedEndsTheRun) {
  gFindings.isCollected = false;
  gFindings.identity = Parse(R"({"result": "fail", "error": "\u6771", "config_ipaddr4": "x"})");
  EXPECT_FALSE(RunGatewayCheck());
  EXPECT_EQ(console_, L"Error: \u6771\n");
  EXPECT_EQ(InitError(), English(1064));
  EXPECT_THAT(OwnLog(), ElementsAre(ErrorLine(L"CheckDefaultGateway: " + English(1064))));
}

}  // namespace
}  // namespace Discovery
}  // namespace Halvard
