#include "tunrak/ssl.h"

#include <atomic>
#include <boost/system/system_error.hpp>
#include <mutex>

#include "tunrak/error_text.h"
#include "tunrak/exception.h"
#include "tunrak/ssl_context.h"

namespace Tunrak {
namespace {

std::atomic<int> gVerifyType = Ssl::kVerifyDefault;

std::mutex gCiphersMutex;
std::string gCiphers;

std::string Ciphers() {
  const std::lock_guard lock(gCiphersMutex);
  return gCiphers;
}

std::shared_ptr<Ssl::Context> NewContext() {
  try {
    return std::make_shared<Ssl::Context>();
  } catch (const boost::system::system_error& failure) {
    throw Exception("Making an SSL context failed: " + ErrorText(failure.code()) + ".");
  }
}

}  // namespace

std::shared_ptr<const Crypto::KeyStore> Crypto::CreateKeyStore(
    const std::string& privateKey, const std::string& certificate,
    const std::vector<std::string>& certificates) {
  if (!privateKey.empty() || !certificate.empty() || !certificates.empty()) {
    throw Exception("This key store holds no keys and no certificates.");
  }
  return std::make_shared<const KeyStore>();
}

void Ssl::InitSSL(const std::string& ciphers) {
  const std::lock_guard lock(gCiphersMutex);
  gCiphers = ciphers;
}

void Ssl::SetVerifySSLCertificates(int verifyType) {
  if (verifyType != kVerifyNone && verifyType != kVerifyDefault) {
    throw Exception("Unknown verify type " + std::to_string(verifyType) + ".");
  }
  gVerifyType = verifyType;
}

int Ssl::GetVerifySSLCertificates() { return gVerifyType; }

std::shared_ptr<Ssl::Context> Ssl::CreateSSLContext(
    const std::shared_ptr<const Crypto::KeyStore>& keyStore, int supportedVersions) {
  if (keyStore == nullptr) throw Exception("An SSL context needs a key store.");
  if (supportedVersions != 0) {
    throw Exception("Unknown SSL versions " + std::to_string(supportedVersions) + ".");
  }
  auto context = NewContext();
  const std::string ciphers = Ciphers();
  if (!ciphers.empty() &&
      SSL_CTX_set_cipher_list(context->native.native_handle(), ciphers.c_str()) != 1) {
    throw Exception("Unknown ciphers \"" + ciphers + "\".");
  }
  return context;
}

}  // namespace Tunrak
