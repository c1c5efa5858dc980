#include "security/controller_version.h"

#include "core/logging.h"
#include "security/directory_connection.h"

namespace Halvard::Security {
namespace {

constexpr wchar_t kVersionAttribute[] = L"ostrelBelvarControllerVersion";
constexpr wchar_t kAnyEntry[] = L"(objectClass=*)";
constexpr wchar_t kOldestVersion[] = L"5.5";
constexpr std::size_t kMajorMinorLength = 3;

Host::UniqueLdapSession ConnectOnEitherPort(const std::wstring& host) {
  LogScope log;
  Host::UniqueLdapSession session = ConnectToLdapServer(host, kLdapsPort);
  if (session) return session;
  log.Warn(
      L"RetrieveBVCMajorMinorVersion: Failed to connect to server [%s] to validate BVC version using Belvar Conntroller LDAPs port [%d].",
      host.c_str(), kLdapsPort);
  session = ConnectToLdapServer(host, kLegacyLdapsPort);
  if (!session) {
    log.Error(
        L"RetrieveBVCMajorMinorVersion: Failed to connect to server [%s] on legacy LDAPs port [%d].",
        host.c_str(), kLegacyLdapsPort);
  }
  return session;
}

/// \return Null after a failure, which is logged.
Host::UniqueLdapResult SearchForVersion(LDAP* session) {
  LogScope log;
  const std::wstring attribute = kVersionAttribute;
  PWCHAR attributes[] = {LdapArgument(attribute), nullptr};
  LDAPMessage* found = nullptr;
  const ULONG result = ldap_search_sW(session, nullptr, LDAP_SCOPE_BASE, LdapArgument(kAnyEntry),
                                      attributes, 0, &found);
  // A failed search may have a result as well.
  Host::UniqueLdapResult owner(found);
  if (result == LDAP_SUCCESS) return owner;
  log.Error(
      L"RetrieveBVCMajorMinorVersion: Failed to search the LDAP to retrieve the Belvar Controller version. Error code [%d].",
      result);
  return Host::UniqueLdapResult();
}

/// Logs a failure, and each of the two good ends.
bool ReadVersion(LDAP* session, LDAPMessage* entry, const std::wstring& host,
                 std::wstring& version) {
  LogScope log;
  BerElement* element = nullptr;
  const Host::UniqueLdapText attribute(ldap_first_attributeW(session, entry, &element));
  const ULONG error = LdapGetLastError();
  const Host::UniqueBerElement position(element);
  // No error means that the entry has no such attribute, which only the newer directory knows.
  if (!attribute && error == LDAP_SUCCESS) {
    log.Info(
        L"RetrieveBVCMajorMinorVersion: Querying for [%s] attribute on server [%s] returned null results. Assuming version as [5.5].",
        kVersionAttribute, host.c_str());
    version = kOldestVersion;
    return true;
  }
  if (!attribute) {
    log.Error(
        L"RetrieveBVCMajorMinorVersion: Failed to get the first attribute of the ldap search result toretrieve the Belvar Controller version.");
    return false;
  }
  const Host::UniqueLdapValues values(ldap_get_valuesW(session, entry, attribute.Get()));
  if (!values || *values.Get() == nullptr) {
    log.Error(
        L"RetrieveBVCMajorMinorVersion: Failed to get the value of the Belvar Controller version.");
    return false;
  }
  version = std::wstring(*values.Get()).substr(0, kMajorMinorLength);
  log.Info(L"RetrieveBVCMajorMinorVersion: Retrieved Belvar Controller version [%s].",
           version.c_str());
  return true;
}

}  // namespace

bool RetrieveBVCMajorMinorVersion(const std::wstring& host, std::wstring& version) {
  LogScope log;
  const Host::UniqueLdapSession session = ConnectOnEitherPort(host);
  if (!session) return false;
  const Host::UniqueLdapResult result = SearchForVersion(session.Get());
  if (!result) return false;
  LDAPMessage* const entry = ldap_first_entry(session.Get(), result.Get());
  if (entry == nullptr) {
    log.Error(
        L"RetrieveBVCMajorMinorVersion: Failed to get the first entry of the ldap search result toretrieve the Belvar Controller version.");
    return false;
  }
  return ReadVersion(session.Get(), entry, host, version);
}

}  // namespace Halvard::Security
