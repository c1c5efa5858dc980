// The agent's certificate: one RSA key and one self-signed certificate for each run.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include <openssl/bn.h>
#include <openssl/evp.h>
#include <openssl/rsa.h>
#include <openssl/x509.h>

namespace Halvard::Security {

struct OpenSslDeleter {
  void operator()(BIGNUM* number) const { BN_free(number); }
  void operator()(RSA* key) const { RSA_free(key); }
  void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
  void operator()(X509* certificate) const { X509_free(certificate); }
  void operator()(X509_EXTENSION* extension) const { X509_EXTENSION_free(extension); }
};
template <typename T>
using UniqueOpenSsl = std::unique_ptr<T, OpenSslDeleter>;

/// Makes an RSA key of 2,048 bits with the public exponent 65,537. Takes a moment.
/// \return Null after a failure, which is logged here.
UniqueOpenSsl<RSA> GenerateRSAKey();

/// Makes an RSA key and wraps it. \return Null after a failure, which is logged here.
UniqueOpenSsl<EVP_PKEY> GeneratePrivateKey();

/// Issues a certificate for \p key, signed with it, valid from 30 seconds ago for 365 days.
/// \param systemName   Common name of subject and issuer.
/// \param ipAddresses  Alternative names in their usual text form; may be empty.
/// \param dnsNames     Alternative names; may be empty.
/// \return Null after a failure, which is logged here. One alternative name that OpenSSL refuses
///         costs all of them, and the certificate is issued without.
UniqueOpenSsl<X509> GenerateSelfSignedCertificate(EVP_PKEY* key, const std::wstring& systemName,
                                                  const std::vector<std::wstring>& ipAddresses,
                                                  const std::vector<std::wstring>& dnsNames);

/// SHA-1 digest of the encoded certificate: 20 bytes as two upper-case hexadecimal digits each,
/// joined by ":". \return An empty text after a failure, which is logged here.
std::wstring GetCertThumbprint(const X509* certificate);

/// Makes key and certificate and writes both to hv_cert.pem in the agent's application data
/// folder, in place of an older file: the unencrypted key first, the certificate second.
/// \return The thumbprint. An empty text after a failure, which is logged here; no file is left.
std::wstring GenerateSSLCertificate(const std::wstring& systemName,
                                    const std::vector<std::wstring>& ipAddresses,
                                    const std::vector<std::wstring>& dnsNames);

/// The same without alternative names.
std::wstring GenerateSSLCertificate(const std::wstring& systemName);

}  // namespace Halvard::Security
