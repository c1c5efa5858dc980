// What of the LDAP client Wine can't be asked: TLS, and what the program owes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>
#include <winber.h>
#include <winldap.h>

#include <string>
#include <vector>

#include "directory/owned_objects.h"
#include "support/slapd.h"

namespace Lab {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

PWCHAR Text(const wchar_t* text) { return const_cast<PWCHAR>(text); }

/// What the callback of the test at hand saw.
struct Seen {
  int calls = 0;
  PLDAP session = nullptr;
  std::vector<BYTE> certificate;
  BOOLEAN answer = TRUE;
};
Seen gSeen;

BOOLEAN LDAPAPI Look(PLDAP session, PCCERT_CONTEXT* certificate) {
  ++gSeen.calls;
  gSeen.session = session;
  const CERT_CONTEXT& context = **certificate;
  gSeen.certificate.assign(context.pbCertEncoded, context.pbCertEncoded + context.cbCertEncoded);
  EXPECT_EQ(context.dwCertEncodingType, X509_ASN_ENCODING);
  EXPECT_TRUE(CertFreeCertificateContext(*certificate));
  return gSeen.answer;
}

class LdapOverTls : public testing::Test {
 protected:
  LdapOverTls() { gSeen = {}; }
  ~LdapOverTls() override { EXPECT_THAT(DirectoryObjects().Kinds(), IsEmpty()); }

  static LDAP* TlsSession() {
    LDAP* const session = ldap_initW(Text(L"localhost"), LDAP_SSL_PORT);
    const ULONG version = LDAP_VERSION3;
    EXPECT_EQ(ldap_set_optionW(session, LDAP_OPT_VERSION, &version), ULONG{LDAP_SUCCESS});
    EXPECT_EQ(ldap_set_optionW(session, LDAP_OPT_SSL, LDAP_OPT_ON), ULONG{LDAP_SUCCESS});
    EXPECT_EQ(ldap_set_optionW(session, LDAP_OPT_SERVER_CERTIFICATE,
                               reinterpret_cast<const void*>(&Look)),
              ULONG{LDAP_SUCCESS});
    return session;
  }

  Instance machine_;
};

TEST_F(LdapOverTls, CallbackSeesTheCertificateOnce) {
  SKIP_WITHOUT_SLAPD();
  const Slapd server({});
  PlaceDirectory(machine_, server, "localhost", LDAP_SSL_PORT);
  LDAP* const session = TlsSession();
  EXPECT_EQ(ldap_connect(session, nullptr), ULONG{LDAP_SUCCESS});
  EXPECT_EQ(ldap_connect(session, nullptr), ULONG{LDAP_SUCCESS});
  EXPECT_EQ(gSeen.calls, 1);
  EXPECT_EQ(gSeen.session, session);
  // A sequence with a length of two bytes that counts the rest.
  ASSERT_GT(gSeen.certificate.size(), 4u);
  EXPECT_EQ(gSeen.certificate[0], 0x30);
  EXPECT_EQ(gSeen.certificate[1], 0x82);
  EXPECT_EQ(gSeen.certificate[2] * 256u + gSeen.certificate[3] + 4u, gSeen.certificate.size());
  EXPECT_EQ(ldap_unbind(session), ULONG{LDAP_SUCCESS});
}

TEST_F(LdapOverTls, CertificateThatTheCallbackRefusesIsAServerThatIsDown) {
  SKIP_WITHOUT_SLAPD();
  gSeen.answer = FALSE;
  const Slapd server({});
  PlaceDirectory(machine_, server, "localhost", LDAP_SSL_PORT);
  LDAP* const session = TlsSession();
  EXPECT_EQ(ldap_connect(session, nullptr), ULONG{LDAP_SERVER_DOWN});
  EXPECT_EQ(gSeen.calls, 1);
  ldap_unbind(session);
}

TEST_F(LdapOverTls, BindConnectsByItself) {
  SKIP_WITHOUT_SLAPD();
  const Slapd server({});
  PlaceDirectory(machine_, server, "localhost", LDAP_SSL_PORT);
  LDAP* const session = TlsSession();
  EXPECT_EQ(ldap_bind_sW(session, Text(L"cn=Administrator,cn=Users,dc=ostrel,dc=local"),
                         Text(L"wrong"), LDAP_AUTH_SIMPLE),
            ULONG{LDAP_INVALID_CREDENTIALS});
  EXPECT_EQ(LdapGetLastError(), ULONG{LDAP_INVALID_CREDENTIALS});
  ldap_unbind(session);
}

TEST_F(LdapOverTls, ServerThatEndsIsDownAndTheProgramGoesOn) {
  SKIP_WITHOUT_SLAPD();
  Slapd server({});
  PlaceDirectory(machine_, server, "localhost", LDAP_SSL_PORT);
  LDAP* const session = TlsSession();
  EXPECT_EQ(ldap_connect(session, nullptr), ULONG{LDAP_SUCCESS});
  server.Stop();
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(ldap_bind_sW(session, Text(L"cn=a"), Text(L"b"), LDAP_AUTH_SIMPLE),
              ULONG{LDAP_SERVER_DOWN});
  }
  ldap_unbind(session);
}

TEST_F(LdapOverTls, SilentServerIsGivenUpInTheHandshake) {
  const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t length = sizeof(address);
  ASSERT_EQ(bind(listener, reinterpret_cast<sockaddr*>(&address), length), 0);
  ASSERT_EQ(listen(listener, 1), 0);
  ASSERT_EQ(getsockname(listener, reinterpret_cast<sockaddr*>(&address), &length), 0);
  machine_.Set("/addressMap/localhost:636", "127.0.0.1:" + std::to_string(ntohs(address.sin_port)));
  machine_.Set("/clock/speed", 1000);  // The system's time, shortened as far as the lab goes.
  LDAP* const session = TlsSession();
  EXPECT_EQ(ldap_connect(session, nullptr), ULONG{LDAP_TIMEOUT});
  ldap_unbind(session);
  close(listener);
}

TEST_F(LdapOverTls, WhatIsOwedIsKnownByItsKind) {
  LDAP* const session = TlsSession();
  EXPECT_THAT(DirectoryObjects().Kinds(), ElementsAre("LdapSession"));
  ldap_unbind(session);
}

using LdapOverTlsDeathTest = LdapOverTls;

TEST_F(LdapOverTlsDeathTest, SecondReleaseStopsTheProgram) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  LDAP* const session = TlsSession();
  ldap_unbind(session);
  EXPECT_DEATH(ldap_unbind(session), "ldap_unbind is supported only with");
}

}  // namespace
}  // namespace Lab
