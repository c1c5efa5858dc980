#include "security/directory_connection.h"

#include "core/logging.h"

namespace Halvard::Security {
namespace {

/// The certificate is the callback's to free. The header declares the parameter as the certificate
/// itself; what arrives is a pointer to it.
BOOLEAN LDAPAPI AcceptAnyCertificate(PLDAP, PCCERT_CONTEXT* certificate) {
  CertFreeCertificateContext(*certificate);
  return TRUE;
}

bool SetConnectionOptions(LDAP* session) {
  LogScope log;
  const ULONG version = LDAP_VERSION3;
  ULONG result = ldap_set_optionW(session, LDAP_OPT_VERSION, &version);
  if (result != LDAP_SUCCESS) {
    log.Error(L"ConnectToLdapServer: Failed to set LDAP version option. Error code: %d", result);
    return false;
  }
  result = ldap_set_optionW(session, LDAP_OPT_SSL, LDAP_OPT_ON);
  if (result != LDAP_SUCCESS) {
    log.Error(L"ConnectToLdapServer: Failed to turn on LDAP SSL option. Error code: %d", result);
    return false;
  }
  result = ldap_set_optionW(session, LDAP_OPT_SERVER_CERTIFICATE,
                            reinterpret_cast<const void*>(&AcceptAnyCertificate));
  if (result != LDAP_SUCCESS) {
    log.Error(
        L"ConnectToLdapServer: Failed to set SSL server certificate validator. Error code: %d",
        result);
    return false;
  }
  return true;
}

}  // namespace

Host::UniqueLdapSession ConnectToLdapServer(const std::wstring& host, ULONG port) {
  LogScope log;
  log.Info(L"ConnectToLdapServer: Connecting to ldap server [%s] on port [%d]", host.c_str(), port);
  Host::UniqueLdapSession session(ldap_initW(LdapArgument(host), port));
  if (!session) {
    log.Error(L"ConnectToLdapServer: Failed to initialize LDAP connection.");
    return session;
  }
  if (!SetConnectionOptions(session.Get())) return Host::UniqueLdapSession();
  const ULONG result = ldap_connect(session.Get(), nullptr);
  if (result != LDAP_SUCCESS) {
    log.Error(L"ConnectToLdapServer: Failed to connect to the LDAP server. Error code: %d", result);
    return Host::UniqueLdapSession();
  }
  return session;
}

}  // namespace Halvard::Security
