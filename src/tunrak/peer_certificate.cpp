#include "tunrak/peer_certificate.h"

#include <openssl/evp.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

#include <boost/algorithm/string/predicate.hpp>
#include <locale>
#include <memory>

#include "tunrak/exception.h"
#include "tunrak/ssl.h"

namespace Tunrak::Ssl {
namespace {

struct FreeCertificate {
  void operator()(X509* certificate) const { X509_free(certificate); }
};

/// \return The SHA-1 of the peer's certificate as "AB:CD:...", or empty without a certificate.
std::string PeerThumbprint(SSL* ssl) {
  const std::unique_ptr<X509, FreeCertificate> certificate(SSL_get1_peer_certificate(ssl));
  unsigned char digest[EVP_MAX_MD_SIZE] = {};
  unsigned size = 0;
  if (!certificate || X509_digest(certificate.get(), EVP_sha1(), digest, &size) != 1) return {};
  constexpr char kDigits[] = "0123456789ABCDEF";
  std::string text;
  for (unsigned i = 0; i < size; ++i) {
    if (i != 0) text += ':';
    text += kDigits[digest[i] >> 4];
    text += kDigits[digest[i] & 15];
  }
  return text;
}

/// The name or address that the certificate must be for.
bool ExpectPeer(SSL* ssl, const std::string& host, bool isAddress) {
  if (!isAddress) return SSL_set1_host(ssl, host.c_str()) == 1;
  return X509_VERIFY_PARAM_set1_ip_asc(SSL_get0_param(ssl), host.c_str()) == 1;
}

}  // namespace

CertificateCheck::CertificateCheck(SSL* ssl, const std::string& host, bool isAddress,
                                   const std::string& thumbprint)
    : ssl_(ssl), thumbprint_(thumbprint), judges_(GetVerifySSLCertificates() != kVerifyNone) {
  const bool verifies = judges_ && thumbprint_.empty();
  SSL_set_verify(ssl_, verifies ? SSL_VERIFY_PEER : SSL_VERIFY_NONE, nullptr);
  if (!verifies) return;
  // Files are read only when they decide something. Without any nothing verifies.
  SSL_CTX_set_default_verify_paths(SSL_get_SSL_CTX(ssl_));
  if (!ExpectPeer(ssl_, host, isAddress)) {
    throw Exception("No certificate can be for \"" + host + "\".");
  }
}

std::string CertificateCheck::HandshakeFailure(const std::string& otherwise) const {
  const long result = SSL_get_verify_result(ssl_);
  const bool isJudgement = judges_ && thumbprint_.empty() && result != X509_V_OK;
  if (!isJudgement) return otherwise;
  return std::string("the certificate isn't trusted: ") + X509_verify_cert_error_string(result);
}

void CertificateCheck::Compare(const std::string& peer) const {
  if (!judges_ || thumbprint_.empty()) return;
  const std::string found = PeerThumbprint(ssl_);
  if (boost::iequals(found, thumbprint_, std::locale::classic())) return;
  throw Exception("The certificate of " + peer + " has the thumbprint " + found +
                  ", not the expected " + thumbprint_ + ".");
}

}  // namespace Tunrak::Ssl
