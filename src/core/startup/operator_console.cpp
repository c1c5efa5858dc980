#include "core/startup/operator_console.h"

#include <string>

#include "core/console.h"
#include "core/logging.h"
#include "core/messages.h"
#include "core/property_store.h"
#include "core/start_failure.h"
#include "core/text.h"
#include "host/windows_api.h"
#include "security/directory_credentials.h"
#include "security/service_accounts.h"
#include "serverclient/credentials.h"

namespace Halvard {
namespace {

constexpr int kAdministratorTries = 3;
constexpr int kServiceAccountTries = 3;

bool IsMigrationType(const wchar_t* type) { return gProperties[L"MIGRATION_TYPE"] == type; }

/// \param tumUser  The administrator in an update manager's migration, whose name the two ways of
///                 input take from different places.
bool IsAdministratorValid(const UserInput& input, const TumInfo& tumInfo,
                          const std::wstring& tumUser) {
  if (IsMigrationType(L"infrastructure")) {
    const bool isVersion55 = gProperties[L"SSO_VERSION"] == L"5.5";
    return Security::ValidateLocalSSOCredentials(input.ssoUser, input.ssoPassword, isVersion55);
  }
  const std::string password = WideToUtf8(input.ssoPassword);
  if (IsMigrationType(L"tum")) {
    return ServerClient::ValidateKvAdminCredentials(WideToUtf8(tumInfo.kvServer), tumInfo.kvPort,
                                                    "/sdkTunnel", WideToUtf8(tumInfo.kvThumbprint),
                                                    WideToUtf8(tumUser), password);
  }
  const int port = _wtoi(gProperties[L"KV_HTTPS_PORT"].Value().c_str());
  return ServerClient::ValidateKvAdminCredentials("localhost", port, "", "",
                                                  WideToUtf8(input.ssoUser), password);
}

/// What an operator at the console can do about a refused administrator.
std::wstring AdministratorAdvice(const TumInfo& tumInfo) {
  if (IsMigrationType(L"infrastructure")) return GetLocalizedString(1050);
  if (IsMigrationType(L"tum")) return GetLocalizedString(1166, tumInfo.kvServer);
  return GetLocalizedString(1058);
}

bool AskForAdministrator(UserInput& input, const TumInfo& tumInfo) {
  for (int attempt = 0; attempt < kAdministratorTries; ++attempt) {
    Print(GetLocalizedString(1006, input.ssoUser));
    input.ssoPassword = ReadMaskedLine();
    if (IsAdministratorValid(input, tumInfo, tumInfo.kvUserName)) return true;
    PrintLine(AdministratorAdvice(tumInfo));
  }
  PrintLine(GetLocalizedString(1042));
  return false;
}

bool AskForServiceAccount(UserInput& input) {
  LogScope log;
  PrintLine(GetLocalizedString(1128, input.kvSaUser));
  for (int attempt = 0; attempt < kServiceAccountTries; ++attempt) {
    Print(GetLocalizedString(1134, input.kvSaUser));
    input.kvSaPassword = ReadMaskedLine();
    if (Security::ValidateServiceAccountCredentials(input.kvSaUser, input.kvSaPassword)) {
      gProperties[L"KELVD_SA_PASSWORD"] = input.kvSaPassword;
      return true;
    }
    PrintLine(GetLocalizedString(1129, input.kvSaUser));
  }
  log.Info(
      L"CollectRequiredUserInput: KELVD service account password validation failed multiple times.");
  Print(GetLocalizedString(1130, std::to_wstring(kServiceAccountTries)));
  return false;
}

void GiveUpAsking() { LogAndStoreError(L"CollectRequiredUserInput: %s", 1042); }

void RefuseGivenAdministrator() {
  if (IsMigrationType(L"infrastructure")) {
    PrintLine(GetLocalizedString(1133) + GetLocalizedString(1098));
    PrintLine(GetLocalizedString(1054) + GetLocalizedString(1050));
    gProperties[L"HV_INIT_ERROR"] =
        L"The entered Ostrel Single Sign-On Administrator credentials are not valid. Please check that Ostrel Single Sign-On services are up and running, and that the entered credentials are valid.";
    return;
  }
  // The update manager's advice goes out with its place for the server unfilled.
  const unsigned int advice = IsMigrationType(L"tum") ? 1166 : 1058;
  PrintLine(GetLocalizedString(1133) + GetLocalizedString(1097));
  PrintLine(GetLocalizedString(1054) + GetLocalizedString(advice));
  gProperties[L"HV_INIT_ERROR"] =
      L"The entered Ostrel Kelvane Server Administrator credentials are not valid. Please check that Ostrel Kelvane Server services are up and running, and that the entered credentials are valid.";
}

bool ValidateGivenServiceAccount(const UserInput& input) {
  if (input.kvSaPassword.empty()) {
    (void)ShowAndStoreError(1158, {input.kvSaUser});
    return false;
  }
  if (!Security::ValidateServiceAccountCredentials(input.kvSaUser, input.kvSaPassword)) {
    (void)ShowAndStoreError(1159, {input.kvSaUser});
    return false;
  }
  gProperties[L"KELVD_SA_PASSWORD"] = input.kvSaPassword;
  return true;
}

}  // namespace

bool CollectRequiredUserInput(UserInput& input, const TumInfo& tumInfo) {
  LogScope log;
  if (!AskForAdministrator(input, tumInfo)) {
    GiveUpAsking();
    return false;
  }
  if (input.kvSaUser.empty()) {
    gProperties[L"KELVD_SA_USER"] = L"";
    gProperties[L"KELVD_SA_PASSWORD"] = L"";
    return true;
  }
  if (!AskForServiceAccount(input)) {
    GiveUpAsking();
    return false;
  }
  return true;
}

bool ValidateCommandLineInput(const UserInput& input, const TumInfo& tumInfo) {
  LogScope log;
  if (!IsAdministratorValid(input, tumInfo, input.ssoUser)) {
    RefuseGivenAdministrator();
    return false;
  }
  if (!input.kvSaUser.empty() && !ValidateGivenServiceAccount(input)) return false;
  if (!input.exportDir.empty()) gProperties[L"EXPORT_DIR"] = input.exportDir;
  return true;
}

}  // namespace Halvard
