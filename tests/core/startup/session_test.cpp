#include "core/startup/session.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "core/automated_tum_upgrade.h"
#include "core/locales.h"
#include "core/property_store.h"
#include "process_test.h"
#include "scripted_checks.h"
#include "support/console_capture.h"
#include "support/log_lines.h"

namespace Halvard {
namespace {

using Testing::CheckCalls;
using testing::Contains;
using testing::ElementsAre;
using testing::EndsWith;
using Testing::ErrorLine;
using testing::Field;
using testing::HasSubstr;
using Testing::InfoLine;
using testing::IsEmpty;
using Testing::LogLine;
using testing::Not;
using Testing::OwnLog;

constexpr wchar_t kUpdateManagerKey[] =
    L"HKEY_LOCAL_MACHINE\\SOFTWARE\\Wow6432Node\\Ostrel, Inc.\\Ostrel Update Manager";

/// A run whose command line gave everything.
class SessionStart : public testing::Test {
 protected:
  explicit SessionStart(const char* machine)
      : machine_(machine), session_(std::make_unique<Session>(2)) {
    for (const auto& [name, value] : gProperties.Snapshot()) gProperties[name] = L"";
    machine_.Set("/computer/uiLanguage", 1033);
    (void)SetThreadUILanguage(1033);
    SetHVLocale();
    machine_.RemoveFile(L"%TEMP%\\halvard.log");
    gProperties[L"TARGET_VERSION"] = L"6.0";
    CheckCalls().clear();
    session_->input.ssoPassword = Testing::kAcceptedPassword;
  }

  bool Start() {
    const Testing::ConsoleCapture console;
    const bool started = StartSession(*session_);
    console_ = console.Text();
    return started;
  }

  Lab::Instance machine_;
  std::unique_ptr<Session> session_;
  std::wstring console_;
};

/// On an update manager's own machine, which only the flag lets begin.
class UpdateManagersSession : public SessionStart {
 protected:
  UpdateManagersSession() : SessionStart("update-manager") { automatedTumUpgrade = true; }
  ~UpdateManagersSession() override { automatedTumUpgrade = false; }
};

TEST_F(UpdateManagersSession, EndsWithoutTheRecordOfItsServer) {
  machine_.RemoveRegistryValue(kUpdateManagerKey, L"KVServer");
  EXPECT_FALSE(Start());
  EXPECT_THAT(console_, EndsWith(English(1165) + L"\n"));
  EXPECT_THAT(OwnLog(), Contains(ErrorLine(L"wmain: " + English(1165))));
  EXPECT_EQ(gProperties[L"HV_INIT_ERROR"].Value(), English(1165));
  EXPECT_THAT(CheckCalls(), IsEmpty());
}

TEST_F(UpdateManagersSession, AsksTheServerOfTheRecordForTheAdministratorOfTheRecord) {
  session_->input.ssoPassword = L"wrong";
  EXPECT_FALSE(Start());
  EXPECT_THAT(CheckCalls(),
              ElementsAre("ValidateKvAdminCredentials(kelvane.corp.example, 443, /sdkTunnel, "
                          "8A:0C:5F:11:2E:9B:77:D4:03:66:41:FA:90:BC:28:E5:7D:13:C6:5A, "
                          "Administrator@ostrel.local)"));
  EXPECT_THAT(
      OwnLog(),
      Not(Contains(Field(&LogLine::message, HasSubstr(L"RetrieveKelvdServiceAccountUser")))));
}

// No network is chosen, so there is no adapter whose address family the server could take.
TEST_F(UpdateManagersSession, PassesOverTheNetworkAndEndsWhereTheServerNeedsOne) {
  EXPECT_FALSE(Start());
  EXPECT_THAT(console_, EndsWith(English(1148) + L"\n"));
  EXPECT_EQ(gProperties[L"HV_INIT_ERROR"].Value(), English(1148));
  EXPECT_FALSE(gProperties[L"HV_THUMBPRINT"].Value().empty());
  const std::vector<LogLine> log = OwnLog();
  EXPECT_THAT(log, Contains(InfoLine(L"Scripted: RunPreMigrationChecks(2)")));
  EXPECT_THAT(log, Not(Contains(InfoLine(L"Scripted: CheckDefaultGateway"))));
}

/// The platform installer's file names the type, and may name any.
class SessionOfUnknownType : public SessionStart {
 protected:
  SessionOfUnknownType() : SessionStart("embedded-platform") {
    machine_.WriteFile(L"C:\\ProgramData\\Ostrel\\KelvaneServer\\cfg\\deployment.node.type",
                       "other\n");
  }
};

TEST_F(SessionOfUnknownType, LooksForNoServiceAccount) {
  session_->input.ssoPassword = L"wrong";
  EXPECT_FALSE(Start());
  EXPECT_EQ(gProperties[L"MIGRATION_TYPE"].Value(), L"other");
  EXPECT_THAT(CheckCalls(), ElementsAre("ValidateKvAdminCredentials(localhost, 443, , , "
                                        "Administrator@ostrel.local)"));
}

}  // namespace
}  // namespace Halvard
