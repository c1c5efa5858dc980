// The agent's TLS settings, for the servers that it is compared with.
#pragma once

#include <openssl/ssl.h>

#include <stdexcept>
#include <string>

namespace Bench {

inline constexpr char kCipherList[] =
    "!aNULL:kECDH+AESGCM:ECDH+AESGCM:RSA+AESGCM:kECDH+AES:ECDH+AES:RSA+AES";

inline void SetCurveAndCiphers(SSL_CTX* context) {
  SSL_CTX_set1_groups_list(context, "P-256");
  SSL_CTX_set_cipher_list(context, kCipherList);
}

/// \param pem  A file with a certificate and its key. \throws std::runtime_error
inline void UseCertificate(SSL_CTX* context, const std::string& pem) {
  if (SSL_CTX_use_certificate_file(context, pem.c_str(), SSL_FILETYPE_PEM) != 1 ||
      SSL_CTX_use_PrivateKey_file(context, pem.c_str(), SSL_FILETYPE_PEM) != 1) {
    throw std::runtime_error("can't use the certificate of " + pem);
  }
}

}  // namespace Bench
