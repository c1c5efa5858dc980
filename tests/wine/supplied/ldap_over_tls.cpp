// Takes the place of some imports of LDAP in a program that is tested under Wine.
//
// Wine's client has no TLS: it refuses the options for it with 0x5C, and its ldap_connect connects
// to nothing. So its sessions talk to a relay in this process, which speaks TLS where it is wanted
// and connects when it is told. What is said, and what becomes of the answers, is Wine's own.
#include <winsock2.h>

#include <windows.h>

#include <wincrypt.h>
#include <winldap.h>

#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "host_paths.h"
#include "ldap_relay.h"
#include "wines_own.h"

namespace {

using Supplied::LdapRelay;

constexpr wchar_t kModule[] = L"wldap32.dll";

std::mutex gMutex;
std::map<LDAP*, std::unique_ptr<LdapRelay>> gRelays;

/// \return Null for what is no session.
LdapRelay* RelayOf(LDAP* session) {
  const std::lock_guard lock(gMutex);
  const auto found = gRelays.find(session);
  return found == gRelays.end() ? nullptr : found->second.get();
}

/// The error is where Wine's LdapGetLastError finds it.
ULONG End(ULONG code) {
  SetLastError(code);
  return code;
}

/// What arrives is a pointer to the certificate, whatever the callback's declaration says.
using TrueCallback = BOOLEAN(LDAPAPI*)(PLDAP session, PCCERT_CONTEXT* certificate);

bool Accepts(LDAP* session, TrueCallback callback, const std::vector<unsigned char>& der) {
  PCCERT_CONTEXT certificate =
      CertCreateCertificateContext(X509_ASN_ENCODING, der.data(), static_cast<DWORD>(der.size()));
  return certificate != nullptr && callback(session, &certificate) != FALSE;
}

LDAP* LDAPAPI Init(PWSTR host, ULONG port) {
  static const auto init = Supplied::WinesOwn<decltype(&ldap_initW)>(kModule, "ldap_initW");
  if (host == nullptr) return init(host, port);
  // Wine 8 reads on behind an empty list, and refuses it or not by what is there.
  if (*host == L'\0') return End(LDAP_PARAM_ERROR), nullptr;
  auto relay = std::make_unique<LdapRelay>();
  relay->Set().hosts = Lab::Wine::ToUtf8(host);
  relay->Set().port = static_cast<std::uint16_t>(port);
  std::wstring loopback = L"127.0.0.1";
  LDAP* const session = init(loopback.data(), relay->Port());
  const std::lock_guard lock(gMutex);
  if (session != nullptr) gRelays[session] = std::move(relay);
  return session;
}

ULONG LDAPAPI SetOption(LDAP* session, int option, const void* value) {
  static const auto set =
      Supplied::WinesOwn<decltype(&ldap_set_optionW)>(kModule, "ldap_set_optionW");
  LdapRelay* const relay = RelayOf(session);
  if (relay != nullptr && option == LDAP_OPT_SSL) {
    relay->Set().tls = value == LDAP_OPT_ON;
    return End(LDAP_SUCCESS);
  }
  if (relay != nullptr && option == LDAP_OPT_SERVER_CERTIFICATE) {
    const auto callback = reinterpret_cast<TrueCallback>(const_cast<void*>(value));
    relay->Set().accepts = [session, callback](const std::vector<unsigned char>& der) {
      return Accepts(session, callback, der);
    };
    return End(LDAP_SUCCESS);
  }
  return set(session, option, value);
}

ULONG LDAPAPI Connect(LDAP* session, l_timeval* timeout) {
  static const auto connect = Supplied::WinesOwn<decltype(&ldap_connect)>(kModule, "ldap_connect");
  LdapRelay* const relay = RelayOf(session);
  if (relay != nullptr && !relay->Connect()) return End(LDAP_SERVER_DOWN);
  return connect(session, timeout);
}

ULONG LDAPAPI Unbind(LDAP* session) {
  static const auto unbind = Supplied::WinesOwn<decltype(&ldap_unbind)>(kModule, "ldap_unbind");
  const ULONG result = unbind(session);
  const std::lock_guard lock(gMutex);
  gRelays.erase(session);
  return result;
}

}  // namespace

// What calls of imported functions go through. The linker takes these before it looks into the
// import libraries.
extern "C" {
decltype(&ldap_initW) __imp_ldap_initW = Init;
decltype(&ldap_set_optionW) __imp_ldap_set_optionW = SetOption;
decltype(&ldap_connect) __imp_ldap_connect = Connect;
decltype(&ldap_unbind) __imp_ldap_unbind = Unbind;
}
