#include "core/startup/settings_summary.h"

#include "core_test.h"
#include "support/console_capture.h"

namespace Halvard {
namespace {

using Testing::ConsoleCapture;

class SettingsSummary : public CoreTest {
 protected:
  SettingsSummary() {
    gProperties[L"SOURCE_PRODUCT_WITH_VERSION"] = L"SOURCE 5.5";
    gProperties[L"TARGET_PRODUCT_WITH_VERSION"] = L"TARGET 6.0";
    gProperties[L"DST_DEPLOYMENT_SIZE"] = L"Small";
    gProperties[L"SRC_DB_TYPE"] = L"external";
    gProperties[L"APP_NET_PNID"] = L"kv.example";
    gProperties[L"SSO_USERNAME"] = L"Administrator@ostrel.local";
    gProperties[L"HV_THUMBPRINT"] = L"AA:BB";
    gProperties[L"HV_PORT"] = L"9123";
    gProperties[L"EXPORT_DIR"] = L"C:\\export\\";
  }

  std::wstring Summary(const wchar_t* type) {
    gProperties[L"MIGRATION_TYPE"] = type;
    TumInfo tumInfo;
    tumInfo.kvServer = L"192.0.2.7";
    const ConsoleCapture console;
    PrintSettingsAndSteps(tumInfo);
    return console.Text();
  }

  const std::wstring rule_ = std::wstring(145, L'=');
  const std::wstring settings_ =
      L"Migration Settings:\n"
      L"   FQDN: kv.example\n"
      L"   Single Sign-On username: Administrator@ostrel.local\n"
      L"   SSL thumbprint: AA:BB\n"
      L"   Port: 9123\n"
      L"   Export data folder: C:\\export\\\n"
      L"\n";
  const std::wstring steps_ =
      L"Migration Steps:\n"
      L"   1. Launch Kelvane Server Appliance UI Installer and click 'Migrate' to start the migration wizard.\n"
      L"   2. In the 'Connect to source server' step, enter the FQDN, Halvard port number, and SSO credentials for this Windows server.\n"
      L"   3. Validate and accept the SSL thumbprint.\n";
  const std::wstring shutdown_ =
      L"Note: This machine will be shutdown as part of the migration."
      L" If migration fails, you can power off the target Kelvane Server Appliance and then power on this machine to rollback the migration.\n";
  const std::wstring keepOpen_ =
      L"\n" + rule_ + L"   DO NOT CLOSE this console until the migration is complete.\n" + rule_;
};

TEST_F(SettingsSummary, KelvaneServerShowsSizesAndDatabases) {
  for (const wchar_t* type : {L"embedded", L"management"}) {
    EXPECT_EQ(
        Summary(type),
        L"\n\n" + rule_ +
            L"Source Configuration:\n"
            L"   Deployment type: SOURCE 5.5\n"
            L"   Deployment size: Small\n"
            L"   DB type: external\n"
            L"\n"
            L"Destination Configuration:\n"
            L"   Deployment type: TARGET 6.0\n"
            L"   DB type: embedded\n"
            L"\n" +
            settings_ + steps_ +
            L"   4. Follow the rest of the steps in the wizard to complete your migration. 'Small' or larger will be available as valid Deployment size options.\n" +
            rule_ + L"\n" + shutdown_ + keepOpen_);
  }
}

TEST_F(SettingsSummary, InfrastructureShowsNeitherSizeNorDatabase) {
  EXPECT_EQ(Summary(L"infrastructure"),
            L"\n\n" + rule_ +
                L"Source Configuration:\n"
                L"   Deployment type: SOURCE 5.5\n"
                L"\n"
                L"Destination Configuration:\n"
                L"   Deployment type: TARGET 6.0\n"
                L"\n" +
                settings_ + steps_ +
                L"   4. Follow the rest of the steps in the wizard to complete your migration.\n" +
                rule_ + L"\n" + shutdown_ + keepOpen_);
}

TEST_F(SettingsSummary, UpdateManagerShowsNoSettingsAndOneStep) {
  EXPECT_EQ(
      Summary(L"tum"),
      L"\n\n" + rule_ +
          L"Source Configuration:\n"
          L"   Deployment type: SOURCE 5.5\n"
          L"   DB type: external\n"
          L"\n"
          L"Destination Configuration:\n"
          L"   Deployment type: TARGET 6.0\n"
          L"   DB type: embedded\n"
          L"\n"
          L"\n"
          L"Migration Steps:\n"
          L"   1. Download and run the Halvard on your Kelvane Server machine at 192.0.2.7, and then follow the instructions provided by the Halvard.\n" +
          rule_ + L"\n" + keepOpen_);
}

TEST_F(SettingsSummary, WarningsComeFirstAsTheyStand) {
  gProperties[L"HV_WARNING_MESSAGES"] = L"Warning: one\n\nWarning: two\n\n";
  EXPECT_THAT(Summary(L"embedded"),
              testing::StartsWith(L"\n" + rule_ + L"Warning: one\n\nWarning: two\n\n\n" + rule_ +
                                  L"Source Configuration:\n"));
}

}  // namespace
}  // namespace Halvard
