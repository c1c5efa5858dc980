#include "service/guards.h"

#include "core/console.h"
#include "core/export_state.h"
#include "core/logging.h"
#include "core/messages.h"
#include "core/property_store.h"
#include "core/text.h"
#include "host/windows_api.h"
#include "security/directory_credentials.h"
#include "serverclient/service_thread.h"
#include "service/documents.h"

namespace Halvard::MigratorSvc {
namespace {

struct Credentials {
  explicit Credentials(const Json::Value& request)
      : user(Utf8ToWide(TextMember(request, "sso_username"))),
        password(Utf8ToWide(TextMember(request, "sso_password"))) {}
  bool AreIncomplete() const { return user.empty() || password.empty(); }

  std::wstring user;
  std::wstring password;
};

/// \return False, for the guard to answer with.
bool Refuse(Json::Value& reply, unsigned int message) {
  SetFailure(reply, GetLocalizedStringIn(message, WideToUtf8(gProperties[L"MC_LOCALE"].Value())));
  return false;
}

bool KelvaneServerAccepts(const std::wstring& host, const wchar_t* portProperty,
                          const char* tunnelPath, const std::wstring& thumbprint,
                          const Credentials& credentials) {
  const int port = _wtoi(gProperties[portProperty].Value().c_str());
  return ServerClient::ValidateKvAdminCredentialsOnServiceThread(
      WideToUtf8(host), port, tunnelPath, WideToUtf8(thumbprint), WideToUtf8(credentials.user),
      WideToUtf8(credentials.password));
}

/// Asks whoever knows the administrator in this migration.
bool AreAccepted(const Credentials& credentials) {
  const std::wstring type = gProperties[L"MIGRATION_TYPE"];
  if (type == L"infrastructure") {
    const bool isVersion55 = gProperties[L"SSO_VERSION"] == L"5.5";
    return Security::ValidateLocalSSOCredentials(credentials.user, credentials.password,
                                                 isVersion55);
  }
  if (type == L"tum") {
    return KelvaneServerAccepts(gProperties[L"TUM_KV_SERVER"], L"TUM_KV_PORT", "/sdkTunnel",
                                gProperties[L"KV_SSL_THUMBPRINT"], credentials);
  }
  return KelvaneServerAccepts(L"localhost", L"KV_HTTPS_PORT", "", L"", credentials);
}

}  // namespace

bool IsRefusedInPhase(const std::wstring& functionName, const PhaseRule& rule,
                      const Json::Value& request, Json::Value& reply) {
  if (gProperties[rule.property] != rule.value) return false;
  LogScope log;
  PrintLine(GetLocalizedString(rule.message));
  SetFailure(reply, GetLocalizedStringIn(rule.message, RequestLocale(request)));
  log.Error(L"%s: %s", functionName.c_str(), GetLocalizedStringIn(rule.message, "en").c_str());
  return true;
}

bool ValidatePassedCredentials(const Json::Value& request, Json::Value& reply) {
  LogScope log;
  const ExportState state = ReadExportState();
  if (state.status == L"NOT_STARTED") {
    log.Info(L"ValidatePassedCredentials: Export has not started.");
    return ValidateCredentialsFromMC(request, reply);
  }
  if (state.status == L"RUNNING") {
    log.Info(L"ValidatePassedCredentials: Export is running.");
    return ValidatePassedCredentialsAgainstStoredCredentials(request, reply);
  }
  if (state.status != L"FINISHED") {
    // No phase of a migration, so nothing could validate anything.
    log.Info(L"ValidatePassedCredentials: Successfully validated credentials.");
    return true;
  }
  if (state.result == L"SUCCESS") {
    log.Info(L"ValidatePassedCredentials: Export finished successfully without any errors.");
    return ValidatePassedCredentialsAgainstStoredCredentials(request, reply);
  }
  // The services have been started again.
  log.Info(L"ValidatePassedCredentials: Export finished with errors.");
  return ValidateCredentialsFromMC(request, reply);
}

bool ValidateCredentialsFromMC(const Json::Value& request, Json::Value& reply) {
  LogScope log;
  // First of all and for good: after a failed validation nothing is left to compare with.
  gProperties[L"SSO_USERNAME"] = L"";
  gProperties[L"SSO_PASSWORD"] = L"";
  const Credentials passed(request);
  if (passed.AreIncomplete()) {
    log.Error(L"ValidateCredentialsFromMC: Empty username or password.");
    return Refuse(reply, 1096);
  }
  if (!AreAccepted(passed)) return Refuse(reply, 1098);
  gProperties[L"SSO_USERNAME"] = passed.user;
  gProperties[L"SSO_PASSWORD"] = passed.password;
  return true;
}

bool ValidatePassedCredentialsAgainstStoredCredentials(const Json::Value& request,
                                                       Json::Value& reply) {
  LogScope log;
  const Credentials passed(request);
  if (passed.AreIncomplete()) {
    log.Error(L"ValidatePassedCredentialsAgainstStoredCredentials: Empty username or password.");
    return Refuse(reply, 1096);
  }
  const std::wstring user = gProperties[L"SSO_USERNAME"];
  const std::wstring password = gProperties[L"SSO_PASSWORD"];
  if (user.empty() || password.empty()) {
    log.Error(
        L"ValidatePassedCredentialsAgainstStoredCredentials: Empty cached username or password.");
    return Refuse(reply, 1099);
  }
  if (_wcsicmp(passed.user.c_str(), user.c_str()) != 0 || passed.password != password) {
    log.Error(
        L"ValidatePassedCredentialsAgainstStoredCredentials: Passed credentials do not match cached credentials for %s user.",
        passed.user.c_str());
    return Refuse(reply, 1098);
  }
  log.Info(
      L"ValidatePassedCredentialsAgainstStoredCredentials: Successfully validated credentials against cached credentials.");
  return true;
}

}  // namespace Halvard::MigratorSvc
