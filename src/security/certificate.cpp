#include "security/certificate.h"

#include <cstdio>
#include <string_view>

#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>

#include "core/logging.h"
#include "core/octet_text.h"
#include "core/text.h"
#include "host/files.h"
#include "host/unique_resource.h"
#include "host/windows_api.h"

namespace Halvard::Security {
namespace {

constexpr int kKeyBits = 2048;
constexpr BN_ULONG kPublicExponent = 0x10001;
// Not the 2 that stands for X.509 version 3: clients have always been shown this number.
constexpr long kVersionField = 3;
constexpr long kSerialNumber = 1;
constexpr long kSecondsBackdated = -30;
constexpr long kSecondsValid = 31536000;

void AddNameEntry(X509_NAME* name, const char* field, const std::string& text) {
  const auto* bytes = reinterpret_cast<const unsigned char*>(text.c_str());
  (void)X509_NAME_add_entry_by_txt(name, field, MBSTRING_ASC, bytes, -1, -1, 0);
}

void FillName(X509_NAME* name, const std::string& systemName) {
  AddNameEntry(name, "C", "US");
  AddNameEntry(name, "O", "Ostrel, Inc.");
  AddNameEntry(name, "CN", systemName);
}

std::string AlternativeNames(const std::vector<std::wstring>& ipAddresses,
                             const std::vector<std::wstring>& dnsNames) {
  std::string names;
  const auto append = [&names](std::string_view kind, const std::wstring& value) {
    if (!names.empty()) names += ",";
    names.append(kind).append(WideToUtf8(value));
  };
  for (const std::wstring& address : ipAddresses) append("IP:", address);
  for (const std::wstring& name : dnsNames) append("DNS:", name);
  return names;
}

/// Adds subjectAltName where there is a name to add.
void AddAlternativeNames(X509* certificate, const std::string& names) {
  if (names.empty()) return;
  LogScope log;
  ERR_clear_error();  // What an earlier connection has left would be told as the reason.
  const UniqueOpenSsl<X509_EXTENSION> extension(
      X509V3_EXT_conf_nid(nullptr, nullptr, NID_subject_alt_name, names.c_str()));
  if (!extension) {
    const std::wstring reason = Utf8ToWide(ERR_error_string(ERR_get_error(), nullptr));
    log.Warn(
        L"GenerateSelfSignedCertificate: Failed to allocate subject altername name ext. Error: %s",
        reason.c_str());
    return;
  }
  (void)X509_add_ext(certificate, extension.get(), -1);
}

/// Writes key and certificate to the open \p file. \return The thumbprint, empty on failure.
std::wstring WritePem(std::FILE* file, EVP_PKEY* key, X509* certificate) {
  LogScope log;
  // Both fit into the stream's buffer, so only the flush meets a full disk.
  if (PEM_write_PrivateKey(file, key, nullptr, nullptr, 0, nullptr, nullptr) == 0 ||
      std::fflush(file) != 0) {
    log.Error(L"GenerateSSLCertificate: Failed to write generated private key to file.");
    return {};
  }
  if (PEM_write_X509(file, certificate) == 0 || std::fflush(file) != 0) {
    log.Error(L"GenerateSSLCertificate: Failed to write generated certificate to file.");
    return {};
  }
  return GetCertThumbprint(certificate);
}

/// \return Where the certificate's file goes. Empty, which nothing can be created under, when the
///         folder isn't known: the key would lie where the program was started, for others to read.
std::wstring CertificatePath() {
  const std::wstring folder = Host::GetHVLocalAppDataFolder();
  return folder.empty() ? folder : folder + L"hv_cert.pem";
}

/// Puts a new file in the place of whatever lies at \p path. \return The thumbprint, empty on
/// failure.
std::wstring WriteCertificateFile(const std::wstring& path, EVP_PKEY* key, X509* certificate) {
  (void)DeleteFileW(path.c_str());
  const Host::UniqueStream file(_wfopen(path.c_str(), L"wb"));
  if (!file) {
    LogScope log;
    log.Error(L"GenerateSSLCertificate: Failed to create private certificate file.");
    return {};
  }
  return WritePem(file.Get(), key, certificate);
}

}  // namespace

UniqueOpenSsl<RSA> GenerateRSAKey() {
  LogScope log;
  const UniqueOpenSsl<BIGNUM> exponent(BN_new());
  if (!exponent) {
    log.Error(L"GenerateRSAKey: Failed to allocate BIGNUM.");
    return nullptr;
  }
  if (BN_set_word(exponent.get(), kPublicExponent) == 0) {
    log.Error(L"GenerateRSAKey: Failed to set BIGNUM word.");
    return nullptr;
  }
  UniqueOpenSsl<RSA> key(RSA_new());
  if (!key) {
    log.Error(L"GenerateRSAKey: Failed to allocate RSA.");
    return nullptr;
  }
  if (RSA_generate_key_ex(key.get(), kKeyBits, exponent.get(), nullptr) == 0) {
    log.Error(L"GenerateRSAKey: Failed to generate RSA key.");
    return nullptr;
  }
  return key;
}

UniqueOpenSsl<EVP_PKEY> GeneratePrivateKey() {
  LogScope log;
  UniqueOpenSsl<RSA> rsa = GenerateRSAKey();
  if (!rsa) return nullptr;
  UniqueOpenSsl<EVP_PKEY> key(EVP_PKEY_new());
  if (!key) {
    log.Error(L"GeneratePrivateKey: Failed to create EVP_PKEY structure.");
    return nullptr;
  }
  if (EVP_PKEY_assign(key.get(), EVP_PKEY_RSA, rsa.get()) == 0) {
    log.Error(L"GeneratePrivateKey: Failed to assign RSA key to private key.");
    return nullptr;
  }
  (void)rsa.release();  // The wrapper owns it from here on.
  return key;
}

UniqueOpenSsl<X509> GenerateSelfSignedCertificate(EVP_PKEY* key, const std::wstring& systemName,
                                                  const std::vector<std::wstring>& ipAddresses,
                                                  const std::vector<std::wstring>& dnsNames) {
  LogScope log;
  UniqueOpenSsl<X509> certificate(X509_new());
  if (!certificate) {
    log.Error(L"GenerateSelfSignedCertificate: Failed to allocate x509 struct.");
    return nullptr;
  }
  X509* const x509 = certificate.get();
  (void)ASN1_INTEGER_set(X509_get_serialNumber(x509), kSerialNumber);
  (void)X509_set_version(x509, kVersionField);
  (void)X509_gmtime_adj(X509_getm_notBefore(x509), kSecondsBackdated);
  (void)X509_gmtime_adj(X509_getm_notAfter(x509), kSecondsValid);
  (void)X509_set_pubkey(x509, key);
  const std::string commonName = WideToUtf8(systemName);
  FillName(X509_get_subject_name(x509), commonName);
  FillName(X509_get_issuer_name(x509), commonName);
  AddAlternativeNames(x509, AlternativeNames(ipAddresses, dnsNames));
  if (X509_sign(x509, key, EVP_sha1()) == 0) {
    log.Error(L"GenerateSelfSignedCertificate: Failed to self sign the certificate.");
    return nullptr;
  }
  return certificate;
}

std::wstring GetCertThumbprint(const X509* certificate) {
  LogScope log;
  unsigned char digest[EVP_MAX_MD_SIZE];
  unsigned int size = 0;
  if (X509_digest(certificate, EVP_sha1(), digest, &size) == 0) {
    log.Error(L"GetCertThumbprint: Failed to get the digest of the certificate.");
    return {};
  }
  return Utf8ToWide(OctetText(digest, size));
}

std::wstring GenerateSSLCertificate(const std::wstring& systemName,
                                    const std::vector<std::wstring>& ipAddresses,
                                    const std::vector<std::wstring>& dnsNames) {
  LogScope log;
  const UniqueOpenSsl<EVP_PKEY> key = GeneratePrivateKey();
  if (!key) return {};
  const UniqueOpenSsl<X509> certificate =
      GenerateSelfSignedCertificate(key.get(), systemName, ipAddresses, dnsNames);
  if (!certificate) return {};
  const std::wstring path = CertificatePath();
  std::wstring thumbprint = WriteCertificateFile(path, key.get(), certificate.get());
  if (thumbprint.empty()) {
    (void)DeleteFileW(path.c_str());
    log.Info(L"GenerateSSLCertificate: Failed to generate HV self signed certificate.");
    return {};
  }
  log.Info(L"GenerateSSLCertificate: HV Self Signed Certificate is successfully generated at: %s",
           path.c_str());
  return thumbprint;
}

std::wstring GenerateSSLCertificate(const std::wstring& systemName) {
  return GenerateSSLCertificate(systemName, {}, {});
}

}  // namespace Halvard::Security
