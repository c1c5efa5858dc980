#include "certificate.h"

#include <cstdint>
#include <fstream>
#include <iterator>
#include <memory>
#include <stdexcept>

#include <openssl/bio.h>
#include <openssl/ec.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rand.h>
#include <openssl/x509v3.h>

namespace Lab::Kelvane {
namespace {

struct Deleter {
  void operator()(BIO* bio) const { BIO_free(bio); }
  void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
  void operator()(X509* certificate) const { X509_free(certificate); }
  void operator()(X509_EXTENSION* extension) const { X509_EXTENSION_free(extension); }
};
template <typename T>
using Unique = std::unique_ptr<T, Deleter>;

/// Throws unless an OpenSSL call went well.
void Require(bool wentWell, const char* what) {
  if (!wentWell) throw std::runtime_error(std::string("certificate: ") + what + " failed");
}

std::string Contents(BIO* bio) {
  char* data = nullptr;
  const long size = BIO_get_mem_data(bio, &data);
  return {data, static_cast<std::size_t>(size)};
}

std::string Thumbprint(const X509* certificate) {
  unsigned char digest[EVP_MAX_MD_SIZE];
  unsigned size = 0;
  Require(X509_digest(certificate, EVP_sha1(), digest, &size) == 1, "the digest");
  constexpr char kDigits[] = "0123456789ABCDEF";
  std::string text;
  for (unsigned i = 0; i < size; ++i) {
    if (i > 0) text += ':';
    text += kDigits[digest[i] >> 4];
    text += kDigits[digest[i] & 0xF];
  }
  return text;
}

Certificate Pack(EVP_PKEY* key, X509* certificate) {
  const Unique<BIO> keyText(BIO_new(BIO_s_mem()));
  const Unique<BIO> certificateText(BIO_new(BIO_s_mem()));
  Require(PEM_write_bio_PrivateKey(keyText.get(), key, nullptr, nullptr, 0, nullptr, nullptr) == 1,
          "writing the key");
  Require(PEM_write_bio_X509(certificateText.get(), certificate) == 1, "writing");
  return {Contents(keyText.get()), Contents(certificateText.get()), Thumbprint(certificate)};
}

void AddExtension(X509* certificate, int kind, const char* value) {
  const Unique<X509_EXTENSION> extension(X509V3_EXT_conf_nid(nullptr, nullptr, kind, value));
  Require(extension && X509_add_ext(certificate, extension.get(), -1) == 1, "an extension");
}

void SetSerialNumber(X509* certificate) {
  std::uint64_t number = 0;
  Require(RAND_bytes(reinterpret_cast<unsigned char*>(&number), sizeof(number)) == 1, "random");
  ASN1_INTEGER_set_uint64(X509_get_serialNumber(certificate), number >> 1);
}

}  // namespace

Certificate MakeCertificate() {
  constexpr long kHour = 3600;
  const Unique<EVP_PKEY> key(EVP_EC_gen("P-256"));
  const Unique<X509> certificate(X509_new());
  Require(key && certificate, "making a key");
  X509_set_version(certificate.get(), X509_VERSION_3);
  SetSerialNumber(certificate.get());
  X509_gmtime_adj(X509_getm_notBefore(certificate.get()), -kHour);
  X509_gmtime_adj(X509_getm_notAfter(certificate.get()), 24 * kHour);
  X509_NAME* name = X509_get_subject_name(certificate.get());
  X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_UTF8,
                             reinterpret_cast<const unsigned char*>("localhost"), -1, -1, 0);
  X509_set_issuer_name(certificate.get(), name);
  X509_set_pubkey(certificate.get(), key.get());
  AddExtension(certificate.get(), NID_basic_constraints, "critical,CA:TRUE");
  AddExtension(certificate.get(), NID_subject_alt_name, "DNS:localhost,IP:127.0.0.1,IP:::1");
  Require(X509_sign(certificate.get(), key.get(), EVP_sha256()) > 0, "signing");
  return Pack(key.get(), certificate.get());
}

Certificate ReadCertificate(const std::string& file) {
  std::ifstream stream(file, std::ios::binary);
  const std::string text{std::istreambuf_iterator<char>(stream), {}};
  // One reader for each: PEM readers skip what stands before the kind that they look for.
  const Unique<BIO> forKey(BIO_new_mem_buf(text.data(), static_cast<int>(text.size())));
  const Unique<BIO> forCertificate(BIO_new_mem_buf(text.data(), static_cast<int>(text.size())));
  const Unique<EVP_PKEY> key(PEM_read_bio_PrivateKey(forKey.get(), nullptr, nullptr, nullptr));
  const Unique<X509> certificate(
      PEM_read_bio_X509(forCertificate.get(), nullptr, nullptr, nullptr));
  if (!key || !certificate) {
    throw std::runtime_error(file + ": expected a private key and a certificate in PEM");
  }
  if (X509_check_private_key(certificate.get(), key.get()) != 1) {
    throw std::runtime_error(file + ": the private key isn't the certificate's");
  }
  return Pack(key.get(), certificate.get());
}

}  // namespace Lab::Kelvane
