#include "discovery/coinstalled_extensions.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "discovery/upgrade_codes.h"
#include "discovery_test.h"
#include "support/console_capture.h"
#include "support/log_lines.h"

namespace Halvard::Discovery {
namespace {

using Testing::ConsoleCapture;
using testing::Contains;
using testing::ElementsAre;
using Testing::ErrorLine;
using testing::Field;
using testing::HasSubstr;
using testing::IsEmpty;
using Testing::LogLine;
using testing::Not;
using Testing::OwnLog;
using testing::StartsWith;
using Testing::WarningLine;

class Extensions : public testing::Test {
 protected:
  bool Discover() {
    const ConsoleCapture console;
    const bool goesOn = DiscoverExtensionsWithSSO();
    console_ = console.Text();
    return goesOn;
  }

  /// What the log tells beside the installer's lines and the changes of language, each message
  /// whole: one with line ends takes several lines.
  static std::vector<LogLine> Told() {
    std::vector<LogLine> told;
    for (const LogLine& line : OwnLog()) {
      if (line.level == 0 && !told.empty()) {
        told.back().message += L"\n" + line.message;
      } else if (!line.message.starts_with(L"GetProductCodeFromUpgradeCode: ") &&
                 !line.message.starts_with(L"LocaleHandler::")) {
        told.push_back(line);
      }
    }
    return told;
  }

  std::wstring console_;
};

const std::wstring kBlockedSignOn =
    L"Warning: Following extensions are installed on this machine along with Ostrel Single Sign-On 5.5:\nOstrel Kelvane Ledger Service 5.5.0.2210 \nThis machine will be shutdown as part of the Ostrel Single Sign-On 5.5 migration to Belvar Service Controller Appliance 6.0, and the above listed extensions will stop working after the shutdown.  move the above listed products to a different machine, and re-launch Halvard to migrate your Ostrel Single Sign-On 5.5 to Belvar Service Controller 6.0.";

TEST_F(Extensions, ThatBlockStopTheRunAndHideTheOthers) {
  const StartedMachine machine("infrastructure-5.5-blocked");
  EXPECT_FALSE(Discover());
  EXPECT_EQ(console_, kBlockedSignOn + L"\n");
  EXPECT_EQ(PropertyValue(L"HV_INIT_ERROR"), kBlockedSignOn);
  EXPECT_EQ(PropertyValue(L"HV_WARNING_MESSAGES"), L"");
  EXPECT_THAT(Told(), ElementsAre(ErrorLine(L"DiscoverExtensionsWithSSO: " + kBlockedSignOn)));
}

TEST_F(Extensions, ThatBlockAreToldInTheOperatorsLanguageAndLoggedInEnglish) {
  const StartedMachine machine("infrastructure-5.5-blocked", 1031);
  EXPECT_FALSE(Discover());
  EXPECT_THAT(
      console_,
      StartsWith(
          L"Warnung: Die folgenden Erweiterungen sind auf dieser Maschine zusammen mit Ostrel Single Sign-On 5.5 installiert:\nOstrel Kelvane Ledger Service 5.5.0.2210 \nDiese Maschine "));
  EXPECT_EQ(PropertyValue(L"HV_INIT_ERROR"), kBlockedSignOn);
  EXPECT_THAT(Told(), ElementsAre(ErrorLine(L"DiscoverExtensionsWithSSO: " + kBlockedSignOn)));
}

TEST_F(Extensions, ThatBlockAreListedInTheirOrder) {
  StartedMachine machine("windows-server");
  machine.lab.AddProduct(kIdentityRelay, L"3");
  machine.lab.AddProduct(kBootCourier, L"2");
  machine.lab.AddProduct(kLedgerService, L"1");
  EXPECT_FALSE(Discover());
  EXPECT_THAT(
      console_,
      HasSubstr(
          L"5.5:\nOstrel Kelvane Ledger Service 1\nOstrel Tarmis Boot Courier 2\nOstrel Tarmis Identity Relay 3 \nThis"));
}

TEST_F(Extensions, ThatBlockABelvarControllerHaveAMessageOfTheirOwn) {
  StartedMachine machine("infrastructure-platform");
  gProperties[L"RIMSAWIN_INSTALLED"] = L"1";
  machine.lab.AddProduct(kLedgerService, L"5.8.0.1");
  EXPECT_FALSE(Discover());
  EXPECT_THAT(
      console_,
      StartsWith(
          L"Following extensions are installed on this machine along with Belvar Service Controller 6.0:\nOstrel Kelvane Ledger Service 5.8.0.1 \nThis machine "));
  EXPECT_THAT(console_,
              HasSubstr(L" will stop working after the shutdown. Move the above listed products "));
}

const std::wstring kWarnedSignOn =
    L"Warning: Following extensions are installed on this machine along with Ostrel Single Sign-On 5.5:\nOstrel Tarmis Hostcore Crash Sink 5.5.0.1655\nOstrel Tarmis Console Portal 5.5.0.1804 \nThis machine will be shutdown as part of the Ostrel Single Sign-On 5.5 migration to Belvar Service Controller Appliance 6.0, and the above listed extensions will only be available after you upgrade or migrate your Kelvane Server 5.5 to Kelvane Server 6.0.";

TEST_F(Extensions, ThatWarnAreListedInTheirOrderAndDoNotStopTheRun) {
  const StartedMachine machine("infrastructure-5.5-warned");
  gProperties[L"HV_WARNING_MESSAGES"] = L"an earlier warning\n\n";
  EXPECT_TRUE(Discover());
  EXPECT_EQ(console_, L"");
  EXPECT_EQ(PropertyValue(L"HV_WARNING_MESSAGES"),
            L"an earlier warning\n\n" + kWarnedSignOn + L"\n\n");
  EXPECT_EQ(PropertyValue(L"HV_INIT_ERROR"), L"");
  EXPECT_THAT(Told(), ElementsAre(WarningLine(L"DiscoverExtensionsWithSSO: " + kWarnedSignOn)));
}

TEST_F(Extensions, ThatWarnAreToldInTheOperatorsLanguageAndLoggedInEnglish) {
  const StartedMachine machine("infrastructure-5.5-warned", 1041);
  EXPECT_TRUE(Discover());
  EXPECT_THAT(PropertyValue(L"HV_WARNING_MESSAGES"), StartsWith(L"\u8b66\u544a: "));
  EXPECT_THAT(Told(), ElementsAre(WarningLine(L"DiscoverExtensionsWithSSO: " + kWarnedSignOn)));
}

TEST_F(Extensions, ThatWarnOnABelvarControllerHaveAMessageOfTheirOwn) {
  StartedMachine machine("infrastructure-platform");
  gProperties[L"RIMSAWIN_INSTALLED"] = L"1";
  machine.lab.AddProduct(kConsolePortal, L"5.8.0.1");
  EXPECT_TRUE(Discover());
  EXPECT_THAT(
      PropertyValue(L"HV_WARNING_MESSAGES"),
      StartsWith(
          L"Warning: Following extensions are installed on this machine along with Belvar Service Controller 6.0:\nOstrel Tarmis Console Portal 5.8.0.1 \nThis machine "));
}

TEST_F(Extensions, ThatAreNotThereAreNotMentioned) {
  const StartedMachine machine("infrastructure-5.5");
  EXPECT_TRUE(Discover());
  EXPECT_EQ(console_, L"");
  EXPECT_EQ(PropertyValue(L"HV_WARNING_MESSAGES"), L"");
  EXPECT_THAT(Told(), IsEmpty());
}

TEST_F(Extensions, DoNotIncludeTheUpdateManager) {
  const StartedMachine machine("update-manager");
  EXPECT_TRUE(Discover());
  EXPECT_EQ(console_, L"");
  EXPECT_EQ(PropertyValue(L"HV_WARNING_MESSAGES"), L"");
}

TEST_F(Extensions, AreLookedUpInTheirOrder) {
  const StartedMachine machine("windows-server");
  EXPECT_TRUE(Discover());
  std::vector<std::wstring> codes;
  for (const LogLine& line : OwnLog())
    codes.push_back(line.message.substr(line.message.size() - 38));
  EXPECT_THAT(codes, ElementsAre(L"{A0B1C2D3-5555-4A55-8A55-0000000000E5}",
                                 L"{A0B1C2D3-6666-4A66-8A66-0000000000F6}",
                                 L"{A0B1C2D3-7777-4A77-8A77-000000000A07}",
                                 L"{A0B1C2D3-8888-4A88-8A88-000000000B08}",
                                 L"{A0B1C2D3-9999-4A99-8A99-000000000C09}",
                                 L"{A0B1C2D3-AAAA-4AAA-8AAA-000000000D0A}"));
}

TEST_F(Extensions, ThatCannotBeLookedUpCountAsNotInstalled) {
  StartedMachine machine("infrastructure-5.5-blocked");
  machine.lab.PlanFault({.function = "MsiGetProductInfoW", .error = 1610});
  EXPECT_TRUE(Discover());
  EXPECT_EQ(console_, L"");
}

}  // namespace
}  // namespace Halvard::Discovery
