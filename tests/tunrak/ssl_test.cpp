#include "tunrak/ssl.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tls_faults.h"
#include "tunrak/exception.h"

namespace Tunrak::Ssl {
namespace {

std::shared_ptr<const Crypto::KeyStore> EmptyStore() { return Crypto::CreateKeyStore("", "", {}); }

TEST(SetVerifySSLCertificates, StaysUntilItIsSetAgain) {
  SetVerifySSLCertificates(kVerifyNone);
  EXPECT_EQ(GetVerifySSLCertificates(), -1);
  EXPECT_THROW(SetVerifySSLCertificates(1), Exception);
  EXPECT_EQ(GetVerifySSLCertificates(), -1);
  SetVerifySSLCertificates(kVerifyDefault);
  EXPECT_EQ(GetVerifySSLCertificates(), 0);
}

TEST(CreateKeyStore, HoldsNothing) {
  EXPECT_NE(EmptyStore(), nullptr);
  EXPECT_THROW(Crypto::CreateKeyStore("key", "", {}), Exception);
  EXPECT_THROW(Crypto::CreateKeyStore("", "certificate", {}), Exception);
  EXPECT_THROW(Crypto::CreateKeyStore("", "", {"certificate"}), Exception);
}

TEST(CreateSSLContext, TakesAKeyStoreAndTheDefaultVersions) {
  EXPECT_NE(CreateSSLContext(EmptyStore(), 0), nullptr);
  EXPECT_THROW(CreateSSLContext(EmptyStore(), 1), Exception);
  EXPECT_THROW(CreateSSLContext(nullptr, 0), Exception);
}

TEST(CreateSSLContext, ThatTheTlsLibraryRefusesIsAnExceptionOfThisOne) {
  const Testing::TlsFault fault("SSL_CTX_new");
  try {
    (void)CreateSSLContext(EmptyStore(), 0);
    FAIL();
  } catch (const Exception& failure) {
    EXPECT_THAT(failure.what(), testing::StartsWith("Making an SSL context failed: "));
  }
}

TEST(InitSSL, CiphersHoldForLaterContexts) {
  InitSSL("no such cipher");
  EXPECT_THROW(CreateSSLContext(EmptyStore(), 0), Exception);
  InitSSL("HIGH");
  EXPECT_NE(CreateSSLContext(EmptyStore(), 0), nullptr);
  InitSSL("");
  EXPECT_NE(CreateSSLContext(EmptyStore(), 0), nullptr);
}

}  // namespace
}  // namespace Tunrak::Ssl
