// LDAP sessions.
#include <algorithm>
#include <chrono>
#include <sstream>

#include "api/ldap_objects.h"
#include "directory/owned_objects.h"
#include "machine/call.h"
#include "machine/machine.h"
#include "machine/text.h"

namespace {

thread_local ULONG tLastError = LDAP_SUCCESS;

constexpr ULONG kHighestPort = 65535;

bool IsSession(const LDAP* session) {
  return Lab::DirectoryObjects().Holds(Lab::kLdapSession, session);
}

/// The system's default time is some tens of seconds. The network doesn't run with the machine's
/// clock: however fast that is, a handshake gets the time that it takes on a busy host.
std::chrono::milliseconds ConnectTimeout() {
  constexpr double kDefault = 30'000;
  constexpr double kLeast = 2'000;
  const double speed = Lab::TheMachine().Describe().clock.speed;
  return std::chrono::milliseconds(static_cast<long>(std::max(kLeast, kDefault / speed)));
}

/// What arrives is a pointer to the certificate, whatever the callback's declaration says.
bool AskCallback(LDAP* session, const std::vector<std::byte>& der) {
  using TrueCallback = BOOLEAN(LDAPAPI*)(PLDAP, PCCERT_CONTEXT*);
  PCCERT_CONTEXT certificate = Lab::HandOutCertificate(der);
  return reinterpret_cast<TrueCallback>(session->verify)(session, &certificate) != FALSE;
}

/// Hosts are separated by blanks, and each may bring its own port.
std::vector<Lab::HostPort> RealAddressesOf(const LabLdapSession& session) {
  const Lab::AddressMap& map = Lab::TheMachine().Describe().addressMap;
  std::vector<Lab::HostPort> addresses;
  std::istringstream hosts(session.hosts);
  for (std::string host; hosts >> host;) {
    const Lab::HostPort target =
        Lab::ParseHostPort(host).value_or(Lab::HostPort{host, session.port});
    const auto found = map.RealAddressesOf(target.host, target.port);
    addresses.insert(addresses.end(), found.begin(), found.end());
  }
  return addresses;
}

Lab::DirectoryConnection& ConnectionOf(LDAP* session) {
  if (!session->connection) {
    LAB_SUPPORTS(!session->tls || session->verify != nullptr);
    Lab::DirectoryConnection::Settings settings;
    settings.addresses = RealAddressesOf(*session);
    settings.version = session->version;
    settings.tls = session->tls;
    settings.accepts = [session](const auto& der) { return AskCallback(session, der); };
    settings.timeout = ConnectTimeout();
    session->connection = std::make_unique<Lab::DirectoryConnection>(std::move(settings));
  }
  return *session->connection;
}

}  // namespace

ULONG Lab::EndLdapCall(ULONG code) { return tLastError = code; }

LDAP* LDAPAPI ldap_initW(const PWCHAR host, ULONG port) {
  const Lab::Call call("ldap_initW", host == nullptr ? L"" : host);
  if (const auto error = call.PlannedError()) return Lab::EndLdapCall(*error), nullptr;
  LAB_SUPPORTS(host != nullptr);  // Null would look for a domain controller.
  LAB_SUPPORTS(port != 0 && port <= kHighestPort);
  if (*host == L'\0') return Lab::EndLdapCall(LDAP_PARAM_ERROR), nullptr;
  auto session = std::make_shared<LabLdapSession>();
  session->hosts = Lab::ToUtf8(host);
  session->port = static_cast<std::uint16_t>(port);
  Lab::DirectoryObjects().Add(Lab::kLdapSession, session.get(), session);
  Lab::EndLdapCall(LDAP_SUCCESS);
  return session.get();
}

ULONG LDAPAPI ldap_set_optionW(LDAP* session, int option, const void* value) {
  const Lab::Call call("ldap_set_optionW", std::to_wstring(option));
  if (const auto error = call.PlannedError()) return Lab::EndLdapCall(*error);
  if (session == nullptr) return Lab::EndLdapCall(LDAP_PARAM_ERROR);
  LAB_SUPPORTS(IsSession(session) && !session->connection);
  if (option == LDAP_OPT_VERSION) {
    LAB_SUPPORTS(value != nullptr && *static_cast<const ULONG*>(value) == LDAP_VERSION3);
    session->version = LDAP_VERSION3;
  } else if (option == LDAP_OPT_SSL) {
    // The value is the constant itself, no pointer to it.
    LAB_SUPPORTS(value == LDAP_OPT_ON);
    session->tls = true;
  } else {
    LAB_SUPPORTS(option == LDAP_OPT_SERVER_CERTIFICATE && value != nullptr);
    session->verify = reinterpret_cast<VERIFYSERVERCERT*>(const_cast<void*>(value));
  }
  return Lab::EndLdapCall(LDAP_SUCCESS);
}

ULONG LDAPAPI ldap_connect(LDAP* session, l_timeval* timeout) {
  const Lab::Call call("ldap_connect");
  if (const auto error = call.PlannedError()) return Lab::EndLdapCall(*error);
  if (session == nullptr) return Lab::EndLdapCall(LDAP_PARAM_ERROR);
  LAB_SUPPORTS(IsSession(session) && timeout == nullptr);
  return Lab::EndLdapCall(ConnectionOf(session).Connect());
}

ULONG LDAPAPI ldap_bind_sW(LDAP* session, PWCHAR name, PWCHAR credentials, ULONG method) {
  const Lab::Call call("ldap_bind_sW", name == nullptr ? L"" : name);
  if (const auto error = call.PlannedError()) return Lab::EndLdapCall(*error);
  if (session == nullptr) return Lab::EndLdapCall(LDAP_PARAM_ERROR);
  LAB_SUPPORTS(IsSession(session) && method == LDAP_AUTH_SIMPLE);
  LAB_SUPPORTS(name != nullptr && credentials != nullptr);
  return Lab::EndLdapCall(ConnectionOf(session).Bind(name, credentials));
}

ULONG LDAPAPI ldap_search_sW(LDAP* session, const PWCHAR base, ULONG scope, const PWCHAR filter,
                             PWCHAR attributes[], ULONG attributesOnly, LDAPMessage** result) {
  const Lab::Call call("ldap_search_sW", filter == nullptr ? L"" : filter);
  if (const auto error = call.PlannedError()) return Lab::EndLdapCall(*error);
  if (session == nullptr || result == nullptr) return Lab::EndLdapCall(LDAP_PARAM_ERROR);
  // The root entry, and of it attributes by name with their values.
  LAB_SUPPORTS(IsSession(session) && base == nullptr && scope == LDAP_SCOPE_BASE);
  LAB_SUPPORTS(filter != nullptr && attributes != nullptr && attributesOnly == 0);
  std::vector<std::wstring> names;
  for (PWCHAR* name = attributes; *name != nullptr; ++name) names.emplace_back(*name);
  std::vector<Lab::DirectoryEntry> entries;
  const ULONG code = ConnectionOf(session).SearchRoot(filter, names, entries);
  if (code != LDAP_SUCCESS) return Lab::EndLdapCall(code);
  const auto message = std::make_shared<LabLdapMessage>();
  for (Lab::DirectoryEntry& entry : entries) message->entries.push_back({std::move(entry), {}});
  Lab::DirectoryObjects().Add(Lab::kLdapResult, message.get(), message);
  *result = message.get();
  return Lab::EndLdapCall(LDAP_SUCCESS);
}

ULONG LDAPAPI ldap_unbind(LDAP* session) {
  const Lab::Call call("ldap_unbind");
  if (session == nullptr) return Lab::EndLdapCall(LDAP_PARAM_ERROR);
  LAB_SUPPORTS(Lab::DirectoryObjects().Release(Lab::kLdapSession, session));
  return Lab::EndLdapCall(call.PlannedError().value_or(LDAP_SUCCESS));
}

ULONG LDAPAPI LdapGetLastError() {
  const Lab::Call call("LdapGetLastError");
  return call.PlannedError().value_or(tLastError);
}
