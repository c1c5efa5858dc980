#include "security/service_accounts.h"

#include "core/logging.h"
#include "core/property_store.h"
#include "host/services.h"
#include "security/account_names.h"

namespace Halvard::Security {
namespace {

constexpr int kTries = 3;
constexpr DWORD kRetryDelay = 10'000;  // Milliseconds.

bool FindSid(const std::wstring& accountName, OwnedSid& sid, LogScope& log) {
  for (int i = 1; !GetAccountSid(accountName, sid); ++i) {
    if (i == kTries) {
      log.Error(L"RetrieveServiceAccountToken: Unable to retrieve account sid for user: %s.",
                accountName.c_str());
      return false;
    }
    log.Warn(
        L"RetrieveServiceAccountToken: Unable to retrieve account sid for user: %s. Retrying with 10 secs delay",
        accountName.c_str());
    Sleep(kRetryDelay);
  }
  return true;
}

/// \return The token as one that can be asked for its groups; null after a failure.
Host::UniqueHandle MakeImpersonationToken(HANDLE token, const std::wstring& account,
                                          LogScope& log) {
  HANDLE impersonation = nullptr;
  if (DuplicateTokenEx(token, TOKEN_QUERY, nullptr, SecurityIdentification, TokenImpersonation,
                       &impersonation)) {
    return Host::UniqueHandle(impersonation);
  }
  const DWORD error = GetLastError();
  log.Error(L"ValidateServiceAccountCredentials: DuplicateTokenEx failed for [%s]. Error code: %d.",
            account.c_str(), error);
  return Host::UniqueHandle();
}

Host::UniqueSid MakeAdministratorsSid(LogScope& log) {
  SID_IDENTIFIER_AUTHORITY authority = SECURITY_NT_AUTHORITY;
  PSID sid = nullptr;
  if (AllocateAndInitializeSid(&authority, 2, SECURITY_BUILTIN_DOMAIN_RID, DOMAIN_ALIAS_RID_ADMINS,
                               0, 0, 0, 0, 0, 0, &sid)) {
    return Host::UniqueSid(sid);
  }
  const DWORD error = GetLastError();
  log.Error(L"ValidateServiceAccountCredentials: AllocateAndInitializeSid failed. Error code: %d.",
            error);
  return Host::UniqueSid();
}

bool IsAdministrator(HANDLE token, const std::wstring& account, LogScope& log) {
  const Host::UniqueHandle impersonation = MakeImpersonationToken(token, account, log);
  if (!impersonation) return false;
  const Host::UniqueSid administrators = MakeAdministratorsSid(log);
  if (!administrators) return false;
  BOOL isMember = FALSE;
  if (!CheckTokenMembership(impersonation.Get(), administrators.Get(), &isMember)) {
    const DWORD error = GetLastError();
    log.Error(L"ValidateServiceAccountCredentials: CheckTokenMembership failed. Error code: %d.",
              error);
    return false;
  }
  if (isMember) return true;
  log.Error(
      L"ValidateServiceAccountCredentials: User account [%s] is not a member of the Administrators group.",
      account.c_str());
  return false;
}

}  // namespace

Host::UniqueHandle RetrieveServiceAccountToken(const std::wstring& accountName,
                                               const std::wstring& password) {
  LogScope log;
  OwnedSid sid;
  if (!FindSid(accountName, sid, log)) return Host::UniqueHandle();
  std::wstring name;
  std::wstring domain;
  if (!LookupAccountNameBySid(sid.get(), name, domain)) {
    log.Error(L"RetrieveServiceAccountToken: Unable to lookup account name for '%s' with sid.",
              accountName.c_str());
    return Host::UniqueHandle();
  }
  log.Info(
      L"RetrieveServiceAccountToken: LookupAccountSid returned accountName=[%s] domainName=[%s].",
      name.c_str(), domain.c_str());
  HANDLE token = nullptr;
  if (!LogonUserW(name.c_str(), domain.c_str(), password.c_str(), LOGON32_LOGON_SERVICE,
                  LOGON32_PROVIDER_DEFAULT, &token)) {
    const DWORD error = GetLastError();
    log.Error(L"RetrieveServiceAccountToken: LogonUser failed for [%s]. Error code: %d.",
              accountName.c_str(), error);
    return Host::UniqueHandle();
  }
  return Host::UniqueHandle(token);
}

bool ValidateServiceAccountCredentials(const std::wstring& user, const std::wstring& password) {
  LogScope log;
  if (user.empty()) {
    log.Error(L"ValidateServiceAccountCredentials: Empty service account user.");
    return false;
  }
  if (password.empty()) {
    log.Warn(L"ValidateServiceAccountCredentials: Empty service account password.");
  }
  // The lookup doesn't know the form in which the service manager names local accounts.
  const std::wstring account = user.starts_with(L".\\") ? user.substr(2) : user;
  log.Info(L"ValidateServiceAccountCredentials: Service account user '%s' was resolved to '%s'.",
           user.c_str(), account.c_str());
  const Host::UniqueHandle token = RetrieveServiceAccountToken(account, password);
  if (!token) {
    log.Error(
        L"ValidateServiceAccountCredentials: Unable to retrieve user token '%s' for administrators group check.",
        account.c_str());
    return false;
  }
  return IsAdministrator(token.Get(), account, log);
}

bool RetrieveKelvdServiceAccountUser() {
  LogScope log;
  Host::ServiceConfiguration configuration;
  if (!Host::QueryServiceConfigW(L"kelvd", configuration)) {
    log.Error(
        L"RetrieveKelvdServiceAccountUser: Failed to retrieve the service configuration info for the KELVD service.");
    return false;
  }
  const wchar_t* const startName = configuration->lpServiceStartName;
  const std::wstring account = startName == nullptr ? L"" : startName;
  if (account == L"LocalSystem") {
    log.Info(L"RetrieveKelvdServiceAccountUser: Default KELVD service account detected.");
    gProperties[L"KELVD_SA_USER"] = L"";
  } else {
    gProperties[L"KELVD_SA_USER"] = account;
  }
  return true;
}

}  // namespace Halvard::Security
