#include "security/directory_credentials.h"

#include <vector>

#include "core/logging.h"
#include "core/text.h"
#include "security/directory_connection.h"

namespace Halvard::Security {
namespace {

/// \return The result code, with that of wrong credentials in place of a success that proves
/// nothing.
ULONG Bind(LDAP* session, const std::wstring& dn, const std::wstring& password) {
  const ULONG result =
      ldap_bind_sW(session, LdapArgument(dn), LdapArgument(password), LDAP_AUTH_SIMPLE);
  // Without a password the bind is an anonymous one, which a server may allow for any name at all.
  // What the server gets ends at the first NUL, and a client may send a password that begins so.
  const bool isAnonymous = *password.c_str() == L'\0';
  if (result == LDAP_SUCCESS && isAnonymous) return LDAP_INVALID_CREDENTIALS;
  return result;
}

}  // namespace

bool ConvertSsoUsernameToLdapDn(const std::wstring& account, std::wstring& dn) {
  LogScope log;
  const std::vector<std::wstring> parts = SplitString(account, L'@');
  if (parts.size() != 2) {
    log.Error(L"ConvertSsoUsernameToLdapDn: SSO username %s is not correctly formatted.",
              account.c_str());
    return false;
  }
  const std::vector<std::wstring> labels = SplitString(parts[1], L'.');
  if (labels.size() < 2) {
    log.Error(L"ConvertSsoUsernameToLdapDn: SSO domain %s is not correctly formatted.",
              parts[1].c_str());
    return false;
  }
  dn = L"cn=" + parts[0] + L",cn=Users";
  for (const std::wstring& label : labels) dn += L",dc=" + label;
  log.Info(L"ConvertSsoUsernameToLdapDn: Successfully converted %s username to %s ldap dn.",
           account.c_str(), dn.c_str());
  return true;
}

bool ValidateLocalSSOCredentials(const std::wstring& user, const std::wstring& password,
                                 bool isVersion55) {
  LogScope log;
  const Host::UniqueLdapSession session =
      ConnectToLdapServer(L"localhost", isVersion55 ? kLegacyLdapsPort : kLdapsPort);
  if (!session) {
    log.Error(
        L"ValidateLocalSSOCredentials: Failed to connect to LDAP server to validate SSO credentials.");
    return false;
  }
  std::wstring dn;
  if (!ConvertSsoUsernameToLdapDn(user, dn)) {
    log.Error(L"ValidateLocalSSOCredentials: Failed to convert username to ldap dn.");
    return false;
  }
  const ULONG result = Bind(session.Get(), dn, password);
  if (result == LDAP_INVALID_CREDENTIALS) {
    log.Error(L"ValidateLocalSSOCredentials: Passed credentials are not valid. Error code: %d",
              result);
    return false;
  }
  if (result != LDAP_SUCCESS) {
    log.Error(L"ValidateLocalSSOCredentials: Failed to validate passed credentials. Error code: %d",
              result);
    return false;
  }
  log.Info(L"ValidateLocalSSOCredentials: Successfully validated SSO credentials.");
  return true;
}

}  // namespace Halvard::Security
