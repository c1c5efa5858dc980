#include "core/property_defaults.h"

#include "core/json_documents.h"
#include "core_test.h"

namespace Halvard {
namespace {

using testing::ElementsAre;

class PropertyDefaults : public CoreTest {
 protected:
  static std::wstring Read(const wchar_t* name) { return gProperties[name]; }
};

TEST_F(PropertyDefaults, EachDefaultIsStored) {
  InitializeProperties();
  EXPECT_EQ(Read(L"KV_URL"), L"//127.0.0.1:443");
  EXPECT_EQ(Read(L"KV_VERSION"), L"5.5");
  EXPECT_EQ(Read(L"SSO_URL"), L"//127.0.0.1:7444/sso-adminserver/sdk/ostrel.local");
  EXPECT_EQ(Read(L"SSO_VERSION"), L"5.5");
  EXPECT_EQ(Read(L"SSO_USERNAME"), L"administrator@ostrel.local");
  EXPECT_EQ(Read(L"SSO_PASSWORD"), L"");
  EXPECT_EQ(Read(L"RHTTPPROXY_EXT_PORT2"), L"443");
  EXPECT_EQ(Read(L"EXPORT_DIR"),
            std::wstring(Lab::Instance::kProfile) + L"\\AppData\\Local\\Ostrel\\Halvard\\");
  EXPECT_EQ(Read(L"INSTALL_TYPE"), L"embedded");
  EXPECT_EQ(Read(L"MIGRATION_TYPE"), L"embedded");
  EXPECT_EQ(Read(L"USER_OPTIONS"), L"{\"keldb.migrateSet\":\"yes\"}");
  EXPECT_EQ(Read(L"PREUPGRADE_CHECKS_STATUS"), L"NOT_STARTED");
  EXPECT_EQ(Read(L"EXPORT_STATUS"), L"NOT_STARTED");
  EXPECT_EQ(Read(L"EXPORT_RESULT"), L"FAIL");
  EXPECT_EQ(Read(L"SOURCE_PRODUCT"), L"Ostrel Kelvane Server");
  EXPECT_EQ(Read(L"SOURCE_VERSION"), L"5.5");
  EXPECT_EQ(Read(L"SOURCE_PRODUCT_WITH_VERSION"), L"Ostrel Kelvane Server 5.5");
  EXPECT_EQ(Read(L"TARGET_PRODUCT"), L"Ostrel Kelvane Server Appliance");
  EXPECT_EQ(Read(L"TARGET_VERSION"), L"6.0");
  EXPECT_EQ(Read(L"TARGET_PRODUCT_WITH_VERSION"), L"Ostrel Kelvane Server Appliance 6.0");
  EXPECT_THAT(gPrivateProperties, ElementsAre(L"KELVD_SA_PASSWORD", L"SSO_PASSWORD"));
}

TEST_F(PropertyDefaults, WhatWasSetBeforeSurvives) {
  gProperties[L"HV_LOCALE"] = L"ja";
  gProperties[L"HV_INIT_ERROR"] = L"an error";
  InitializeProperties();
  EXPECT_EQ(Read(L"HV_LOCALE"), L"ja");
  EXPECT_EQ(Read(L"HV_INIT_ERROR"), L"an error");
}

TEST_F(PropertyDefaults, WithoutALocalFolderThereIsNoExportFolder) {
  machine_.PlanFault({.function = "SHGetKnownFolderPath", .error = 2});
  InitializeProperties();
  EXPECT_EQ(Read(L"EXPORT_DIR"), L"");
}

TEST_F(PropertyDefaults, RunnerTemplateResolvesFieldByField) {
  InitializeProperties();
  gProperties[L"SSO_PASSWORD"] = L"s3cret";
  gProperties[L"EXPORT_DIR"] = L"C:\\export\\";
  Json::Value document;
  ASSERT_EQ(GetJsonProperty(L"UR_INPUT_JSON", document), 0);
  ResolveJsonTree(document, JsonResolveProperty, nullptr);
  Json::Value expected;
  ASSERT_TRUE(ParseJson(R"({
    "source-components": {
      "com.ostrel.kelvd": [{
        "password": "s3cret", "platform": "Windows", "url": "//127.0.0.1:443",
        "username": "administrator@ostrel.local", "kv.svcuser": null, "kv.svcuserpassword": null,
        "kv.thumbprint": null, "version": "5.5"}],
      "com.ostrel.sso": [{
        "password": "s3cret", "platform": "Windows",
        "url": "//127.0.0.1:7444/sso-adminserver/sdk/ostrel.local",
        "username": "administrator@ostrel.local", "version": "5.5"}]},
    "upgrade-settings": {
      "destinationPlatform": "linux", "export-folder": "C:\\export\\",
      "infrastructure": {"host": null, "httpsPort": "443", "password": "s3cret",
                         "username": "administrator@ostrel.local"},
      "upgrade-type": "embedded", "user-options": {"keldb.migrateSet": "yes"}}})",
                        expected));
  EXPECT_EQ(document, expected);
}

TEST_F(PropertyDefaults, StatusTemplateResolvesFieldByField) {
  InitializeProperties();
  gProperties[L"HV_INITIALIZATION"] = L"success";
  gProperties[L"HV_PORT"] = L"1";
  Json::Value document;
  ASSERT_EQ(GetJsonProperty(L"HV_STATUS_JSON", document), 0);
  ResolveJsonTree(document, JsonResolveProperty, nullptr);
  Json::Value expected;
  // A port of 1 is a boolean in the file: the placeholder language knows no numbers.
  ASSERT_TRUE(
      ParseJson(R"({"initialization": "success", "error": null, "port": true, "thumbprint": null})",
                expected));
  EXPECT_EQ(document, expected);
}

TEST_F(PropertyDefaults, PasswordsShowNowhereInTheLog) {
  InitializeProperties();
  gProperties[L"SSO_PASSWORD"] = L"s3cret";
  gProperties[L"KELVD_SA_PASSWORD"] = L"s3cret";
  Json::Value document;
  ASSERT_EQ(GetJsonProperty(L"UR_INPUT_JSON", document), 0);
  ResolveJsonTree(document, JsonResolveProperty, nullptr);
  EXPECT_THAT(machine_.ReadFile(L"%TEMP%\\halvard.log").value(),
              testing::Not(testing::HasSubstr("s3cret")));
}

}  // namespace
}  // namespace Halvard
