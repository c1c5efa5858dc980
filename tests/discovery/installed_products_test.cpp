#include "discovery/installed_products.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "discovery/upgrade_codes.h"
#include "discovery_test.h"
#include "support/console_capture.h"
#include "support/log_lines.h"

namespace Halvard::Discovery {
namespace {

using Testing::ConsoleCapture;
using testing::Contains;
using Testing::ErrorLine;
using Testing::InfoLine;
using Testing::LogLine;
using testing::Not;
using Testing::OwnLog;
using testing::TestParamInfo;
using testing::TestWithParam;
using testing::ValuesIn;
using Testing::WarningLine;

/// What one run of discovery gave.
struct Outcome {
  bool goesOn;
  std::wstring console;
};

Outcome Discover() {
  const ConsoleCapture console;
  const bool goesOn = DiscoverInstalledProducts();
  return {goesOn, console.Text()};
}

struct SourceCase {
  std::string machine;
  std::map<std::wstring, std::wstring> properties;
};

void PrintTo(const SourceCase& source, std::ostream* stream) { *stream << source.machine; }

const SourceCase kSources[] = {
    {"embedded-5.5",
     {{L"MIGRATION_TYPE", L"embedded"},
      {L"RIMSAWIN_INSTALLED", L""},
      {L"KV_VERSION", L"5.5"},
      {L"KV_HTTPS_PORT", L"443"},
      {L"KV_URL", L"//127.0.0.1:443"},
      {L"SSO_VERSION", L"5.5"},
      {L"SSO_HTTPS_PORT", L"7444"},
      {L"SSO_URL", L"//127.0.0.1:7444/sso-adminserver/sdk/ostrel.local"},
      {L"SOURCE_VERSION", L"5.5"},
      {L"SOURCE_PRODUCT", L"Ostrel Kelvane Server with an embedded Ostrel Single Sign-On"}}},
    {"management-5.5",
     {{L"MIGRATION_TYPE", L"management"},
      {L"RIMSAWIN_INSTALLED", L""},
      {L"KV_VERSION", L"5.5"},
      {L"KV_HTTPS_PORT", L"443"},
      {L"KV_URL", L"//127.0.0.1:443"},
      {L"SSO_VERSION", L""},
      {L"SSO_HTTPS_PORT", L""},
      {L"SSO_URL", L"default"},
      {L"SOURCE_VERSION", L"5.5"},
      {L"SOURCE_PRODUCT", L"Ostrel Kelvane Server with an external Ostrel Single Sign-On"}}},
    {"infrastructure-5.5",
     {{L"MIGRATION_TYPE", L"infrastructure"},
      {L"RIMSAWIN_INSTALLED", L""},
      {L"KV_VERSION", L""},
      {L"KV_HTTPS_PORT", L""},
      {L"KV_URL", L"default"},
      {L"SSO_VERSION", L"5.5"},
      {L"SSO_HTTPS_PORT", L"7444"},
      {L"SSO_URL", L"//127.0.0.1:7444/sso-adminserver/sdk/ostrel.local"},
      {L"SOURCE_VERSION", L"5.5"},
      {L"SOURCE_PRODUCT", L"Ostrel Single Sign-On"}}},
    {"embedded-platform",
     {{L"MIGRATION_TYPE", L"embedded"},
      {L"RIMSAWIN_INSTALLED", L"1"},
      {L"KV_VERSION", L"5.8"},
      {L"KV_HTTPS_PORT", L"443"},
      {L"KV_URL", L"//127.0.0.1:443"},
      {L"SSO_VERSION", L"5.8"},
      {L"SSO_HTTPS_PORT", L"443"},
      {L"SSO_URL", L"//127.0.0.1:443/sso-adminserver/sdk/ostrel.local"},
      {L"SOURCE_VERSION", L"5.8"},
      {L"SOURCE_PRODUCT", L"Ostrel Kelvane Server with an embedded Ostrel Belvar Controller"}}},
    {"management-platform",
     {{L"MIGRATION_TYPE", L"management"},
      {L"RIMSAWIN_INSTALLED", L"1"},
      {L"KV_VERSION", L"5.8"},
      {L"KV_HTTPS_PORT", L"443"},
      {L"KV_URL", L"//127.0.0.1:443"},
      {L"SSO_VERSION", L""},
      {L"SSO_HTTPS_PORT", L""},
      {L"SSO_URL", L"default"},
      {L"SOURCE_VERSION", L"5.8"},
      {L"SOURCE_PRODUCT", L"Ostrel Kelvane Server with an external Ostrel Belvar Controller"}}},
    {"infrastructure-platform",
     {{L"MIGRATION_TYPE", L"infrastructure"},
      {L"RIMSAWIN_INSTALLED", L"1"},
      {L"KV_VERSION", L""},
      {L"KV_HTTPS_PORT", L""},
      {L"KV_URL", L"default"},
      {L"SSO_VERSION", L"5.8"},
      {L"SSO_HTTPS_PORT", L"443"},
      {L"SSO_URL", L"//127.0.0.1:443/sso-adminserver/sdk/ostrel.local"},
      {L"SOURCE_VERSION", L"5.8"},
      {L"SOURCE_PRODUCT", L"Ostrel Belvar Controller"}}},
};

class MigratableMachine : public TestWithParam<SourceCase> {};

TEST_P(MigratableMachine, FillsTheProperties) {
  const StartedMachine machine(GetParam().machine);
  const Outcome outcome = Discover();
  EXPECT_TRUE(outcome.goesOn);
  EXPECT_EQ(outcome.console, L"");
  for (const auto& [name, value] : GetParam().properties) {
    EXPECT_EQ(PropertyValue(name), value) << std::string(name.begin(), name.end());
  }
  EXPECT_EQ(PropertyValue(L"HV_INIT_ERROR"), L"");
  EXPECT_EQ(PropertyValue(L"HV_WARNING_MESSAGES"), L"");
  EXPECT_FALSE(localTumInstalled);
}

std::string PlainName(const std::string& name) {
  std::string plain;
  for (const char c : name) {
    if (std::isalnum(static_cast<unsigned char>(c)) != 0) plain += c;
  }
  return plain;
}

INSTANTIATE_TEST_SUITE_P(Machines, MigratableMachine, ValuesIn(kSources),
                         [](const TestParamInfo<SourceCase>& row) {
                           return PlainName(row.param.machine);
                         });

/// One way to refuse a machine, as two operators see it.
struct RefusalCase {
  std::string name;
  std::string machine;
  std::function<void(StartedMachine&)> change;
  std::wstring english;  ///< What the console shows in English.
  std::wstring german;   ///< What the console shows in German.
  std::wstring reason;   ///< What the log and HV_INIT_ERROR hold in any language.
};

void PrintTo(const RefusalCase& refusal, std::ostream* stream) { *stream << refusal.name; }

void ChangeNothing(StartedMachine&) {}

const std::wstring kSupportedSource =
    L"Migration to Ostrel Kelvane Server Appliance 6.0 is only supported from Kelvane Server version 5.5. Refer to Tarmis Upgrade Guide for supported migration paths.\n";
const std::wstring kSupportedSourceInGerman =
    L"Die Migration zur Ostrel Kelvane Server Appliance 6.0 wird nur von Kelvane Server Version 5.5 unterst\u00fctzt. Die unterst\u00fctzten Migrationspfade finden Sie im Tarmis Upgrade Guide.\n";
const std::wstring kNothingFound = L"No supported products were found on this machine.";
const std::wstring kNothingFoundInGerman =
    L"Auf dieser Maschine wurden keine unterst\u00fctzten Produkte gefunden.\n";

const RefusalCase kRefusals[] = {
    {"SingleSignOn51", "sso-5.1", ChangeNothing,
     L"Ostrel Single Sign-On 5.1 was found on this machine, and migrating to Ostrel Kelvane Server Appliance 6.0 from this machine is not supported.\n",
     L"Auf dieser Maschine wurde Ostrel Single Sign-On 5.1 gefunden. Die Migration von dieser Maschine zur Ostrel Kelvane Server Appliance 6.0 wird nicht unterst\u00fctzt.\n",
     L"Ostrel Single Sign-On 5.1 was found on this machine, and migrating to Ostrel Kelvane Server Appliance 6.0 from this machine is not supported."},
    {"PlatformInstallerOfTheTarget", "platform-6.0", ChangeNothing,
     L"Error: Migrating from Ostrel Kelvane Server 6.0.0.30191 to Ostrel Kelvane Server Appliance 6.0 is not supported. " +
         kSupportedSource,
     L"Fehler: Die Migration von Ostrel Kelvane Server 6.0.0.30191 zur Ostrel Kelvane Server Appliance 6.0 wird nicht unterst\u00fctzt. " +
         kSupportedSourceInGerman,
     L"Migrating from Ostrel Kelvane Server 6.0.0.30191 to Ostrel Kelvane Server Appliance 6.0 is not supported."},
    {"NoDeploymentType", "embedded-platform",
     [](StartedMachine& machine) {
       machine.lab.RemoveRegistryValue(kServerKey, L"INSTALL_TYPE");
       machine.lab.RemoveFile(std::wstring(kConfiguration) + L"deployment.node.type");
     },
     L"Failed to discover the deployment type of the installed Ostrel Kelvane Server.\n",
     L"Der Bereitstellungstyp des installierten Ostrel Kelvane Server konnte nicht ermittelt werden.\n",
     L"Failed to discover the deployment type of the installed Ostrel Kelvane Server."},
    {"NoReverseProxyPort", "embedded-platform",
     [](StartedMachine& machine) {
       machine.lab.RemoveFile(std::wstring(kConfiguration) +
                              L"install-defaults\\rhttpproxy.ext.port2");
     },
     L"Failed to retrieve the Reverse Proxy port from the install parameters.\n",
     L"Der Reverse-Proxy-Port konnte nicht aus den Installationsparametern abgerufen werden.\n",
     L"Failed to retrieve the Reverse Proxy port from the install parameters."},
    {"NoSingleSignOnDomain", "infrastructure-platform",
     [](StartedMachine& machine) {
       machine.lab.WriteFile(
           std::wstring(kConfiguration) + L"install-defaults\\ostreldir.domain-name",
           "\nostrel.local\n");
     },
     L"Failed to retrieve the SSO domain name from the install parameters.\n",
     L"Der SSO-Dom\u00e4nenname konnte nicht aus den Installationsparametern abgerufen werden.\n",
     L"Failed to retrieve the SSO domain name from the install parameters."},
    {"OlderKelvaneServer", "kelvane-5.1", ChangeNothing,
     L"Error: Migrating from Ostrel Kelvane Server 5.1.0.8112 to Ostrel Kelvane Server Appliance 6.0 is not supported. " +
         kSupportedSource,
     L"Fehler: Die Migration von Ostrel Kelvane Server 5.1.0.8112 zur Ostrel Kelvane Server Appliance 6.0 wird nicht unterst\u00fctzt. " +
         kSupportedSourceInGerman,
     L"Migrating from Ostrel Kelvane Server 5.1.0.8112 to Ostrel Kelvane Server Appliance 6.0 is not supported."},
    {"NoPortOfKelvaneServer", "embedded-5.5",
     [](StartedMachine& machine) {
       machine.lab.RemoveRegistryValue(kKelvaneKey, L"HttpsProxyPort");
     },
     L"Failed to retrieve the Ostrel Kelvane Server HTTPS port from the registry.\n",
     L"Der HTTPS-Port von Ostrel Kelvane Server konnte nicht aus der Registrierung abgerufen werden.\n",
     L"Failed to retrieve the Ostrel Kelvane Server HTTPS port from the registry."},
    {"NoPortOfSingleSignOn", "embedded-5.5",
     [](StartedMachine& machine) {
       machine.lab.RemoveRegistryValue(kSingleSignOnKey, L"HttpsPort");
     },
     L"Failed to retrieve the Ostrel Single Sign-On HTTPS port from the registry.\n",
     L"Der HTTPS-Port von Ostrel Single Sign-On konnte nicht aus der Registrierung abgerufen werden.\n",
     L"Failed to retrieve the Ostrel Single Sign-On HTTPS port from the registry."},
    {"NothingInstalled", "windows-server", ChangeNothing, kSupportedSource + kNothingFound + L"\n",
     kSupportedSourceInGerman + kNothingFoundInGerman, kNothingFound},
    {"OnlyTheUpdateManager", "update-manager", ChangeNothing,
     kSupportedSource + kNothingFound + L"\n", kSupportedSourceInGerman + kNothingFoundInGerman,
     kNothingFound},
    {"UpdateManagerOfAnotherVersion", "windows-server",
     [](StartedMachine& machine) {
       automatedTumUpgrade = true;
       machine.lab.AddProduct(kTarmisUpdateManager, L"5.1.0.1");
     },
     L"Migrating from Windows Ostrel Tarmis Update Manager to a Ostrel Tarmis Update Manager service embedded in Ostrel Kelvane Server Appliance 6.0 is only supported from Ostrel Tarmis Update Manager 5.5 and 6.0.\n" +
         kNothingFound + L"\n",
     L"Die Migration von Ostrel Tarmis Update Manager unter Windows zu einem in die Ostrel Kelvane Server Appliance 6.0 eingebetteten Ostrel Tarmis Update Manager-Dienst wird nur von Ostrel Tarmis Update Manager 5.5 und 6.0 unterst\u00fctzt.\n" +
         kNothingFoundInGerman,
     kNothingFound},
};

class RefusedMachine : public TestWithParam<RefusalCase> {
 protected:
  static void Expect(LANGID language, const std::wstring& console) {
    StartedMachine machine(GetParam().machine, language);
    GetParam().change(machine);
    const Outcome outcome = Discover();
    EXPECT_FALSE(outcome.goesOn);
    EXPECT_EQ(outcome.console, console);
    EXPECT_EQ(PropertyValue(L"HV_INIT_ERROR"), GetParam().reason);
    EXPECT_THAT(OwnLog(),
                Contains(ErrorLine(L"DiscoverInstalledProducts: " + GetParam().reason)).Times(1));
  }
};

TEST_P(RefusedMachine, TellsAnEnglishOperatorWhy) { Expect(1033, GetParam().english); }
TEST_P(RefusedMachine, TellsAGermanOperatorWhyAndLogsInEnglish) { Expect(1031, GetParam().german); }

INSTANTIATE_TEST_SUITE_P(Reasons, RefusedMachine, ValuesIn(kRefusals),
                         [](const TestParamInfo<RefusalCase>& row) { return row.param.name; });

TEST(InstalledProducts, AreLookedUpInTheirOrder) {
  const StartedMachine machine("windows-server");
  (void)Discover();
  const std::vector<LogLine> log = OwnLog();
  std::vector<std::wstring> codes;
  for (const LogLine& line : log) {
    const std::wstring text = L"GetProductCodeFromUpgradeCode: No products found for UpgradeCode ";
    if (line.message.starts_with(text)) codes.push_back(line.message.substr(text.size()));
  }
  EXPECT_THAT(codes, testing::ElementsAre(L"{A0B1C2D3-1111-4A11-8A11-0000000000A1}",
                                          L"{A0B1C2D3-2222-4A22-8A22-0000000000B2}",
                                          L"{A0B1C2D3-3333-4A33-8A33-0000000000C3}",
                                          L"{A0B1C2D3-0000-FFFF-0011-0000000000D4}",
                                          L"{A0B1C2D3-5555-4A55-8A55-0000000000E5}"));
}

TEST(InstalledProducts, OfTheOldestSignOnAreRefusedBesideAnythingElse) {
  StartedMachine machine("embedded-platform");
  machine.lab.AddProduct(kSingleSignOn51, L"5.1.0.1");
  EXPECT_FALSE(Discover().goesOn);
  EXPECT_EQ(PropertyValue(L"RIMSAWIN_INSTALLED"), L"");
}

TEST(InstalledProducts, OfThePlatformInstallerHidTheOlderLine) {
  StartedMachine machine("management-5.5");
  machine.lab.AddProduct(kPlatformInstaller, L"6.0.0.1");
  const Outcome outcome = Discover();
  EXPECT_FALSE(outcome.goesOn);
  EXPECT_THAT(outcome.console,
              testing::HasSubstr(L"Migrating from Ostrel Kelvane Server 6.0.0.1 "));
}

struct VersionCase {
  std::string name;
  std::wstring installed;
  std::wstring target;
  bool goesOn;
};

void PrintTo(const VersionCase& version, std::ostream* stream) { *stream << version.name; }

class PlatformVersion : public TestWithParam<VersionCase> {};

TEST_P(PlatformVersion, HasToBeLowerThanTheTarget) {
  StartedMachine machine("embedded-platform");
  machine.lab.RemoveProducts(kPlatformInstaller);
  machine.lab.AddProduct(kPlatformInstaller, GetParam().installed);
  gProperties[L"TARGET_VERSION"] = GetParam().target;
  EXPECT_EQ(Discover().goesOn, GetParam().goesOn);
}

INSTANTIATE_TEST_SUITE_P(Limits, PlatformVersion,
                         ValuesIn(std::vector<VersionCase>{
                             {"Older", L"5.5.0.1", L"6.0", true},
                             {"JustOlder", L"5.9.9.9", L"6.0", true},
                             {"Equal", L"6.0.0.0", L"6.0", false},
                             {"LaterPatch", L"6.0.5", L"6.0", false},
                             {"Newer", L"6.5.0.1", L"6.0", false},
                             {"TenReadsAsTen", L"10.0", L"6.0", false},
                             {"NoNumberReadsAsZero", L"abc", L"6.0", true},
                         }),
                         [](const TestParamInfo<VersionCase>& row) { return row.param.name; });

TEST(PlatformProducts, OfAnUnknownTypeAreNamedLikeEmbeddedOnes) {
  StartedMachine machine("embedded-platform");
  machine.lab.WriteFile(std::wstring(kConfiguration) + L"deployment.node.type", "other\n");
  EXPECT_TRUE(Discover().goesOn);
  EXPECT_EQ(PropertyValue(L"MIGRATION_TYPE"), L"other");
  EXPECT_EQ(PropertyValue(L"KV_URL"), L"//127.0.0.1:443");
  EXPECT_EQ(PropertyValue(L"SSO_URL"), L"//127.0.0.1:443/sso-adminserver/sdk/ostrel.local");
}

TEST(PlatformProducts, TakeTheirDomainFromTheInstallParameters) {
  StartedMachine machine("infrastructure-platform");
  machine.lab.WriteFile(std::wstring(kConfiguration) + L"install-defaults\\ostreldir.domain-name",
                        "corp.example\n");
  EXPECT_TRUE(Discover().goesOn);
  EXPECT_EQ(PropertyValue(L"SSO_URL"), L"//127.0.0.1:443/sso-adminserver/sdk/corp.example");
}

TEST(OlderProducts, WithoutAPortKeepWhatWasFoundBefore) {
  StartedMachine machine("embedded-5.5");
  machine.lab.RemoveRegistryValue(kSingleSignOnKey, L"HttpsPort");
  EXPECT_FALSE(Discover().goesOn);
  EXPECT_EQ(PropertyValue(L"MIGRATION_TYPE"), L"embedded");
  EXPECT_EQ(PropertyValue(L"KV_URL"), L"//127.0.0.1:443");
  EXPECT_EQ(PropertyValue(L"SSO_VERSION"), L"5.5");
  EXPECT_EQ(PropertyValue(L"SSO_URL"), L"default");
  EXPECT_EQ(PropertyValue(L"SOURCE_PRODUCT"), L"");
}

class LocalUpdateManager : public testing::Test {
 protected:
  /// Discovers the products of a machine that has the update manager, too.
  static Outcome DiscoverOn(const std::string& name, LANGID language = 1033) {
    StartedMachine machine(name, language);
    gProperties[L"HV_WARNING_MESSAGES"] = L"an earlier warning";
    machine.lab.AddProduct(kTarmisUpdateManager, L"5.5.0.1");
    const Outcome outcome = Discover();
    log_ = OwnLog();
    return outcome;
  }

  static inline std::vector<LogLine> log_;

  const std::wstring besideServer_ =
      L"Tarmis Update Manager (TUM) is currently installed on the same system as the Ostrel Kelvane Server system. TUM will no longer function after the migration as the source Windows machine will be shutdown as part of this process. You can either move TUM to a different machine and relaunch the Halvard or proceed with the migration. Proceeding will require a fresh install of TUM.";
  const std::wstring besideSignOn_ =
      L"Tarmis Update Manager (TUM) is currently installed on the same system as the Ostrel Single Sign-On system. TUM will no longer function after the migration as the source Windows machine will be shutdown as part of this process. You can either move TUM to a different machine and relaunch the Halvard or proceed with the migration. Proceeding will require a fresh install of TUM.";
};

TEST_F(LocalUpdateManager, BesideAKelvaneServerBringsAWarningAndNoMigrationOfItsOwn) {
  for (const auto& [machine, type] :
       {std::pair<std::string, std::wstring>("embedded-5.5", L"embedded"),
        {"management-5.5", L"management"}}) {
    const Outcome outcome = DiscoverOn(machine);
    EXPECT_TRUE(outcome.goesOn);
    EXPECT_EQ(outcome.console, L"");
    EXPECT_TRUE(localTumInstalled);
    EXPECT_EQ(PropertyValue(L"MIGRATION_TYPE"), type);
    EXPECT_EQ(PropertyValue(L"HV_WARNING_MESSAGES"), L"Warning: " + besideServer_ + L"\n\n");
    EXPECT_THAT(log_,
                Contains(InfoLine(L"DiscoverInstalledProducts: Locally installed TUM detected.")));
    EXPECT_THAT(log_, Contains(WarningLine(L"DiscoverInstalledProducts: " + besideServer_)));
    EXPECT_THAT(log_, Not(Contains(WarningLine(L"DiscoverInstalledProducts: " + besideSignOn_))));
  }
}

TEST_F(LocalUpdateManager, BesideSingleSignOnAloneBringsItsOwnWarning) {
  EXPECT_TRUE(DiscoverOn("infrastructure-5.5").goesOn);
  EXPECT_EQ(PropertyValue(L"MIGRATION_TYPE"), L"infrastructure");
  EXPECT_EQ(PropertyValue(L"HV_WARNING_MESSAGES"), L"Warning: " + besideSignOn_ + L"\n\n");
  EXPECT_THAT(log_, Contains(WarningLine(L"DiscoverInstalledProducts: " + besideSignOn_)));
}

TEST_F(LocalUpdateManager, WarnsInTheOperatorsLanguageAndLogsInEnglish) {
  EXPECT_TRUE(DiscoverOn("embedded-5.5", 1031).goesOn);
  EXPECT_TRUE(
      PropertyValue(L"HV_WARNING_MESSAGES")
          .starts_with(L"Warnung: Tarmis Update Manager (TUM) ist derzeit auf demselben System "));
  EXPECT_THAT(log_, Contains(WarningLine(L"DiscoverInstalledProducts: " + besideServer_)));
}

TEST_F(LocalUpdateManager, BringsNoWarningOnAPlatformInstallersMachine) {
  EXPECT_TRUE(DiscoverOn("embedded-platform").goesOn);
  EXPECT_TRUE(localTumInstalled);
  EXPECT_EQ(PropertyValue(L"HV_WARNING_MESSAGES"), L"an earlier warning");
}

class AutomatedUpdateManagerUpgrade : public TestWithParam<std::wstring> {};

TEST_P(AutomatedUpdateManagerUpgrade, MigratesTheUpdateManagerAlone) {
  StartedMachine machine("windows-server");
  automatedTumUpgrade = true;
  machine.lab.AddProduct(kTarmisUpdateManager, GetParam() + L".0.1");
  const Outcome outcome = Discover();
  EXPECT_TRUE(outcome.goesOn);
  EXPECT_EQ(outcome.console, L"");
  EXPECT_EQ(PropertyValue(L"MIGRATION_TYPE"), L"tum");
  EXPECT_EQ(PropertyValue(L"SOURCE_VERSION"), GetParam());
  EXPECT_EQ(PropertyValue(L"SOURCE_PRODUCT_WITH_VERSION"),
            L"Ostrel Tarmis Update Manager " + GetParam());
}

INSTANTIATE_TEST_SUITE_P(Versions, AutomatedUpdateManagerUpgrade, testing::Values(L"5.5", L"6.0"),
                         [](const auto& row) { return row.param == L"5.5" ? "From55" : "From60"; });

TEST(AutomatedUpdateManagerUpgrade, StillRefusesAnEmptyMachine) {
  const StartedMachine machine("windows-server");
  automatedTumUpgrade = true;
  const Outcome outcome = Discover();
  EXPECT_FALSE(outcome.goesOn);
  EXPECT_EQ(outcome.console, kSupportedSource + kNothingFound + L"\n");
}

TEST(AutomatedUpdateManagerUpgrade, IsOffFromTheStart) { EXPECT_FALSE(automatedTumUpgrade); }

}  // namespace
}  // namespace Halvard::Discovery
