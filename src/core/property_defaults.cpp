#include "core/property_defaults.h"

#include <string>

#include "core/property_store.h"
#include "core/version.h"
#include "host/files.h"

namespace Halvard {
namespace {

/// The runner's input file. A string of the form "[NAME]" stands for the property of that name.
constexpr wchar_t kRunnerInputTemplate[] =
    LR"json({
  "source-components": {
    "com.ostrel.kelvd": [
      {
        "password": "[SSO_PASSWORD]",
        "platform": "Windows",
        "url": "[KV_URL]",
        "username": "[SSO_USERNAME]",
        "kv.svcuser": "[KELVD_SA_USER]",
        "kv.svcuserpassword": "[KELVD_SA_PASSWORD]",
        "kv.thumbprint": "[KV_SSL_THUMBPRINT]",
        "version": "[KV_VERSION]"
      }
    ],
    "com.ostrel.sso": [
      {
        "password": "[SSO_PASSWORD]",
        "platform": "Windows",
        "url": "[SSO_URL]",
        "username": "[SSO_USERNAME]",
        "version": "[SSO_VERSION]"
      }
    ]
  },
  "upgrade-settings": {
    "destinationPlatform": "linux",
    "export-folder": "[EXPORT_DIR]",
    "infrastructure": {
      "host": "[INFRA_NODE_ADDRESS]",
      "httpsPort": "[RHTTPPROXY_EXT_PORT2]",
      "password": "[SSO_PASSWORD]",
      "username": "[SSO_USERNAME]"
    },
    "upgrade-type": "[MIGRATION_TYPE]",
    "user-options": "[USER_OPTIONS]"
  }
})json";

/// The status file, by which whoever started the agent learns how its start-up ended.
constexpr wchar_t kStatusTemplate[] =
    LR"json({
  "initialization": "[HV_INITIALIZATION]",
  "error": "[HV_INIT_ERROR]",
  "port": "[HV_PORT]",
  "thumbprint": "[HV_THUMBPRINT]"
})json";

}  // namespace

void InitializeProperties() {
  const std::wstring domain = DefaultSsoDomain;
  const std::wstring targetVersion = std::wstring(kVersion).substr(0, 3);

  gProperties[L"KV_URL"] = L"//127.0.0.1:443";
  gProperties[L"KV_VERSION"] = L"5.5";
  gProperties[L"SSO_URL"] = L"//127.0.0.1:7444/sso-adminserver/sdk/" + domain;
  gProperties[L"SSO_VERSION"] = L"5.5";
  gProperties[L"SSO_USERNAME"] = L"administrator@" + domain;
  gProperties[L"SSO_PASSWORD"] = L"";
  gProperties[L"RHTTPPROXY_EXT_PORT2"] = L"443";
  gProperties[L"EXPORT_DIR"] = Host::GetHVLocalAppDataFolder();
  gProperties[L"INSTALL_TYPE"] = L"embedded";
  gProperties[L"MIGRATION_TYPE"] = L"embedded";
  gProperties[L"USER_OPTIONS"] = kDefaultUserOptions;
  gProperties[L"PREUPGRADE_CHECKS_STATUS"] = L"NOT_STARTED";
  gProperties[L"EXPORT_STATUS"] = L"NOT_STARTED";
  gProperties[L"EXPORT_RESULT"] = L"FAIL";
  gProperties[L"SOURCE_PRODUCT"] = L"Ostrel Kelvane Server";
  gProperties[L"SOURCE_VERSION"] = L"5.5";
  gProperties[L"SOURCE_PRODUCT_WITH_VERSION"] = L"Ostrel Kelvane Server 5.5";
  gProperties[L"TARGET_PRODUCT"] = L"Ostrel Kelvane Server Appliance";
  gProperties[L"TARGET_VERSION"] = targetVersion;
  gProperties[L"TARGET_PRODUCT_WITH_VERSION"] = L"Ostrel Kelvane Server Appliance " + targetVersion;
  gProperties[L"UR_INPUT_JSON"] = kRunnerInputTemplate;
  gProperties[L"HV_STATUS_JSON"] = kStatusTemplate;

  gPrivateProperties.insert(L"SSO_PASSWORD");
  gPrivateProperties.insert(L"KELVD_SA_PASSWORD");
}

}  // namespace Halvard
