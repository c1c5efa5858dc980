#include <gmock/gmock.h>

#include <string>

#include "directory_stub.h"
#include "host/unique_resource.h"
#include "what_wine_lacks.h"

namespace {

using Halvard::Host::UniqueBerElement;
using Halvard::Host::UniqueLdapResult;
using Halvard::Host::UniqueLdapSession;
using Halvard::Host::UniqueLdapText;
using Halvard::Host::UniqueLdapValues;
using WindowsApi::DirectoryStub;

/// The functions want texts that they could write to, and don't.
PWCHAR Text(const wchar_t* text) { return const_cast<PWCHAR>(text); }

UniqueLdapSession SessionWith(const DirectoryStub& stub) {
  UniqueLdapSession session(ldap_initW(Text(L"127.0.0.1"), stub.Port()));
  const ULONG version = LDAP_VERSION3;
  EXPECT_EQ(ldap_set_optionW(session.Get(), LDAP_OPT_VERSION, &version), ULONG{LDAP_SUCCESS});
  return session;
}

ULONG Search(LDAP* session, UniqueLdapResult& result, const wchar_t* filter = L"(objectClass=*)") {
  PWCHAR attributes[] = {Text(L"version"), nullptr};
  LDAPMessage* found = nullptr;
  const ULONG code =
      ldap_search_sW(session, nullptr, LDAP_SCOPE_BASE, Text(filter), attributes, 0, &found);
  result.Reset(found);
  return code;
}

TEST(LdapInit, ConnectsToNothingYet) {
  EXPECT_TRUE(UniqueLdapSession(ldap_initW(Text(L"127.0.0.1"), 1)));
}

TEST(LdapInit, EmptyHostIsRefused) {
  EXPECT_FALSE(UniqueLdapSession(ldap_initW(Text(L""), LDAP_SSL_PORT)));
}

TEST(LdapSetOption, NoSessionIsAParameterError) {
  const ULONG version = LDAP_VERSION3;
  EXPECT_EQ(ldap_set_optionW(nullptr, LDAP_OPT_VERSION, &version), ULONG{LDAP_PARAM_ERROR});
}

TEST(LdapConnect, DeadPortIsAServerThatIsDown) {
  SKIP_ON_BARE_WINE(
      "ldap_connect always answers 0 under Wine 8, and connects at the first operation");
  const UniqueLdapSession session(ldap_initW(Text(L"127.0.0.1"), 1));
  EXPECT_EQ(ldap_connect(session.Get(), nullptr), ULONG{LDAP_SERVER_DOWN});
  EXPECT_EQ(LdapGetLastError(), ULONG{LDAP_SERVER_DOWN});
}

TEST(LdapConnect, ListeningServerIsReached) {
  const DirectoryStub stub({});
  const UniqueLdapSession session = SessionWith(stub);
  EXPECT_EQ(ldap_connect(session.Get(), nullptr), ULONG{LDAP_SUCCESS});
}

TEST(LdapConnect, HostsOfAListAreTriedInOrderAndMayBringTheirPorts) {
  const DirectoryStub stub({});
  const std::wstring hosts = L"127.0.0.1:1 127.0.0.1:" + std::to_wstring(stub.Port());
  const UniqueLdapSession session(ldap_initW(Text(hosts.c_str()), 2));
  EXPECT_EQ(ldap_connect(session.Get(), nullptr), ULONG{LDAP_SUCCESS});
  EXPECT_EQ(ldap_bind_sW(session.Get(), Text(L"cn=a"), Text(L"b"), LDAP_AUTH_SIMPLE),
            ULONG{LDAP_SUCCESS});
}

TEST(LdapBind, ServersCodeIsTheResult) {
  for (const int code : {0x00, 0x20, 0x22, 0x31, 0x35}) {
    const DirectoryStub stub({.bindCode = static_cast<std::uint8_t>(code)});
    const UniqueLdapSession session = SessionWith(stub);
    EXPECT_EQ(ldap_bind_sW(session.Get(), Text(L"cn=a"), Text(L"b"), LDAP_AUTH_SIMPLE),
              static_cast<ULONG>(code));
  }
}

TEST(LdapBind, NameAndPasswordGoOutAsUtf8) {
  const DirectoryStub stub({});
  const UniqueLdapSession session = SessionWith(stub);
  EXPECT_EQ(ldap_bind_sW(session.Get(), Text(L"cn=J\u00F6rg"), Text(L"\u8A66"), LDAP_AUTH_SIMPLE),
            ULONG{LDAP_SUCCESS});
  // Version 3, the name, a simple bind with the password.
  EXPECT_TRUE(stub.LastRequest().ends_with(std::string("\x02\x01\x03\x04\x08") + "cn=J\xC3\xB6rg" +
                                           "\x80\x03\xE8\xA9\xA6"));
}

TEST(LdapBind, DeadPortIsAServerThatIsDown) {
  const UniqueLdapSession session(ldap_initW(Text(L"127.0.0.1"), 1));
  EXPECT_EQ(ldap_bind_sW(session.Get(), Text(L"cn=a"), Text(L"b"), LDAP_AUTH_SIMPLE),
            ULONG{LDAP_SERVER_DOWN});
}

TEST(LdapBind, LostConnectionIsAServerThatIsDown) {
  const DirectoryStub stub({.hangsUp = true});
  const UniqueLdapSession session = SessionWith(stub);
  EXPECT_EQ(ldap_bind_sW(session.Get(), Text(L"cn=a"), Text(L"b"), LDAP_AUTH_SIMPLE),
            ULONG{LDAP_SERVER_DOWN});
}

TEST(LdapSearch, AttributeOfTheRootEntryHasItsValuesInOrder) {
  const DirectoryStub stub({.attributes = {{"version", {"6.0.1", "J\xC3\xB6rg"}}}});
  const UniqueLdapSession session = SessionWith(stub);
  UniqueLdapResult result;
  ASSERT_EQ(Search(session.Get(), result), ULONG{LDAP_SUCCESS});
  LDAPMessage* const entry = ldap_first_entry(session.Get(), result.Get());
  ASSERT_NE(entry, nullptr);
  BerElement* element = nullptr;
  const UniqueLdapText name(ldap_first_attributeW(session.Get(), entry, &element));
  const UniqueBerElement position(element);
  ASSERT_TRUE(name);
  EXPECT_STREQ(name.Get(), L"version");
  const UniqueLdapValues values(ldap_get_valuesW(session.Get(), entry, Text(L"VERSION")));
  ASSERT_TRUE(values);
  EXPECT_STREQ(values.Get()[0], L"6.0.1");
  EXPECT_STREQ(values.Get()[1], L"J\u00F6rg");
  EXPECT_EQ(values.Get()[2], nullptr);
}

TEST(LdapSearch, EntryWithoutAttributesIsNoError) {
  const DirectoryStub stub({});
  const UniqueLdapSession session = SessionWith(stub);
  UniqueLdapResult result;
  ASSERT_EQ(Search(session.Get(), result), ULONG{LDAP_SUCCESS});
  LDAPMessage* const entry = ldap_first_entry(session.Get(), result.Get());
  ASSERT_NE(entry, nullptr);
  BerElement* element = nullptr;
  EXPECT_EQ(ldap_first_attributeW(session.Get(), entry, &element), nullptr);
  EXPECT_EQ(LdapGetLastError(), ULONG{LDAP_SUCCESS});
  EXPECT_EQ(element, nullptr);
}

TEST(LdapSearch, AbsentAttributeHasNoValues) {
  const DirectoryStub stub({.attributes = {{"version", {"6.0"}}}});
  const UniqueLdapSession session = SessionWith(stub);
  UniqueLdapResult result;
  ASSERT_EQ(Search(session.Get(), result), ULONG{LDAP_SUCCESS});
  LDAPMessage* const entry = ldap_first_entry(session.Get(), result.Get());
  ASSERT_NE(entry, nullptr);
  EXPECT_EQ(ldap_get_valuesW(session.Get(), entry, Text(L"other")), nullptr);
}

TEST(LdapSearch, AttributeWithoutValuesHasAnEmptyList) {
  const DirectoryStub stub({.attributes = {{"version", {}}}});
  const UniqueLdapSession session = SessionWith(stub);
  UniqueLdapResult result;
  ASSERT_EQ(Search(session.Get(), result), ULONG{LDAP_SUCCESS});
  LDAPMessage* const entry = ldap_first_entry(session.Get(), result.Get());
  ASSERT_NE(entry, nullptr);
  const UniqueLdapValues values(ldap_get_valuesW(session.Get(), entry, Text(L"version")));
  EXPECT_TRUE(!values || values.Get()[0] == nullptr);
}

TEST(LdapSearch, ResultMayHaveNoEntry) {
  const DirectoryStub stub({.hasEntry = false});
  const UniqueLdapSession session = SessionWith(stub);
  UniqueLdapResult result;
  ASSERT_EQ(Search(session.Get(), result), ULONG{LDAP_SUCCESS});
  EXPECT_EQ(ldap_first_entry(session.Get(), result.Get()), nullptr);
}

TEST(LdapSearch, ServersCodeIsTheResult) {
  const DirectoryStub stub({.searchCode = 0x35, .hasEntry = false});
  const UniqueLdapSession session = SessionWith(stub);
  UniqueLdapResult result;
  EXPECT_EQ(Search(session.Get(), result), ULONG{LDAP_UNWILLING_TO_PERFORM});
}

TEST(LdapSearch, FilterThatIsNoneIsRefused) {
  const DirectoryStub stub({});
  const UniqueLdapSession session = SessionWith(stub);
  UniqueLdapResult result;
  EXPECT_EQ(Search(session.Get(), result, L"(objectClass=*"), ULONG{LDAP_FILTER_ERROR});
}

TEST(LdapRelease, NothingIsReleasedWithSuccess) {
  EXPECT_EQ(ldap_msgfree(nullptr), ULONG{LDAP_SUCCESS});
  EXPECT_EQ(ldap_value_freeW(nullptr), ULONG{LDAP_SUCCESS});
}

TEST(LdapUnbind, NoSessionIsAParameterError) {
  EXPECT_EQ(ldap_unbind(nullptr), ULONG{LDAP_PARAM_ERROR});
}

/// What the client may do with a certificate: look at it, free it, and answer.
std::string gCertificate;

BOOLEAN LDAPAPI Accept(PLDAP, PCCERT_CONTEXT* certificate) {
  gCertificate.assign(reinterpret_cast<const char*>((*certificate)->pbCertEncoded),
                      (*certificate)->cbCertEncoded);
  CertFreeCertificateContext(*certificate);
  return TRUE;
}

BOOLEAN LDAPAPI Refuse(PLDAP, PCCERT_CONTEXT* certificate) {
  CertFreeCertificateContext(*certificate);
  return FALSE;
}

UniqueLdapSession TlsSessionWith(const DirectoryStub& stub,
                                 BOOLEAN(LDAPAPI* callback)(PLDAP, PCCERT_CONTEXT*)) {
  UniqueLdapSession session = SessionWith(stub);
  EXPECT_EQ(ldap_set_optionW(session.Get(), LDAP_OPT_SSL, LDAP_OPT_ON), ULONG{LDAP_SUCCESS});
  EXPECT_EQ(ldap_set_optionW(session.Get(), LDAP_OPT_SERVER_CERTIFICATE,
                             reinterpret_cast<const void*>(callback)),
            ULONG{LDAP_SUCCESS});
  return session;
}

TEST(LdapTls, SaysAllOverTlsOnceTheCertificateIsAccepted) {
  SKIP_ON_BARE_WINE("Wine 8 has no LDAP over TLS: options 10 and 129 are refused with 0x5c");
  const DirectoryStub stub(
      {.bindCode = 0x31, .attributes = {{"version", {"6.0.1"}}}, .overTls = true});
  const UniqueLdapSession session = TlsSessionWith(stub, Accept);
  EXPECT_EQ(ldap_connect(session.Get(), nullptr), ULONG{LDAP_SUCCESS});
  EXPECT_EQ(gCertificate, stub.Certificate());
  EXPECT_EQ(ldap_bind_sW(session.Get(), Text(L"cn=a"), Text(L"b"), LDAP_AUTH_SIMPLE),
            ULONG{LDAP_INVALID_CREDENTIALS});
  UniqueLdapResult result;
  EXPECT_EQ(Search(session.Get(), result), ULONG{LDAP_SUCCESS});
  EXPECT_NE(ldap_first_entry(session.Get(), result.Get()), nullptr);
}

TEST(LdapTls, RefusedCertificateIsAServerThatIsDown) {
  SKIP_ON_BARE_WINE("Wine 8 has no LDAP over TLS: options 10 and 129 are refused with 0x5c");
  const DirectoryStub stub({.overTls = true});
  const UniqueLdapSession session = TlsSessionWith(stub, Refuse);
  EXPECT_EQ(ldap_connect(session.Get(), nullptr), ULONG{LDAP_SERVER_DOWN});
  // The end of the session may be told, but nothing is asked.
  EXPECT_THAT(stub.LastRequest(), testing::AnyOf("", std::string("\x42\x00", 2)));
}

TEST(LdapTls, ServerWithoutItIsDown) {
  SKIP_ON_BARE_WINE("Wine 8 has no LDAP over TLS: options 10 and 129 are refused with 0x5c");
  const DirectoryStub stub({});
  const UniqueLdapSession session = TlsSessionWith(stub, Accept);
  EXPECT_EQ(ldap_connect(session.Get(), nullptr), ULONG{LDAP_SERVER_DOWN});
}

TEST(LdapTls, OptionsAreTakenBeforeTheConnection) {
  SKIP_ON_BARE_WINE("Wine 8 has no LDAP over TLS: options 10 and 129 are refused with 0x5c");
  const UniqueLdapSession session(ldap_initW(Text(L"127.0.0.1"), 1));
  EXPECT_EQ(ldap_set_optionW(session.Get(), LDAP_OPT_SSL, LDAP_OPT_ON), ULONG{LDAP_SUCCESS});
  const auto refuse = [](PLDAP, PCCERT_CONTEXT*) -> BOOLEAN { return FALSE; };
  BOOLEAN(LDAPAPI * callback)(PLDAP, PCCERT_CONTEXT*) = refuse;
  EXPECT_EQ(ldap_set_optionW(session.Get(), LDAP_OPT_SERVER_CERTIFICATE,
                             reinterpret_cast<const void*>(callback)),
            ULONG{LDAP_SUCCESS});
}

}  // namespace
