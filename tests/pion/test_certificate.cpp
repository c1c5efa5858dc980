#include "test_certificate.h"

#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509.h>

#include <atomic>
#include <fstream>
#include <memory>
#include <random>
#include <stdexcept>

namespace pion_test {
namespace {

struct free_key {
  void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
};
struct free_certificate {
  void operator()(X509* certificate) const { X509_free(certificate); }
};
struct free_bio {
  void operator()(BIO* bio) const { BIO_free(bio); }
};
using key_ptr = std::unique_ptr<EVP_PKEY, free_key>;
using certificate_ptr = std::unique_ptr<X509, free_certificate>;
using bio_ptr = std::unique_ptr<BIO, free_bio>;

void require(bool done) {
  if (!done) throw std::runtime_error("the test's certificate couldn't be made");
}

template <typename Write>
std::string written_by(Write write) {
  const bio_ptr bio(BIO_new(BIO_s_mem()));
  require(write(bio.get()) == 1);
  char* data = nullptr;
  const long size = BIO_get_mem_data(bio.get(), &data);
  return {data, static_cast<std::size_t>(size)};
}

certificate_ptr self_signed(EVP_PKEY* key) {
  certificate_ptr made(X509_new());
  X509_set_version(made.get(), X509_VERSION_3);
  ASN1_INTEGER_set(X509_get_serialNumber(made.get()), 1);
  X509_gmtime_adj(X509_getm_notBefore(made.get()), 0);
  X509_gmtime_adj(X509_getm_notAfter(made.get()), 3600);
  X509_set_pubkey(made.get(), key);
  X509_NAME* name = X509_get_subject_name(made.get());
  X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_ASC,
                             reinterpret_cast<const unsigned char*>("localhost"), -1, -1, 0);
  X509_set_issuer_name(made.get(), name);
  require(X509_sign(made.get(), key, EVP_sha256()) > 0);
  return made;
}

std::string certificate_pem(X509* certificate) {
  return written_by([&](BIO* bio) { return PEM_write_bio_X509(bio, certificate); });
}

std::string key_pem(EVP_PKEY* key) {
  return written_by([&](BIO* bio) {
    return PEM_write_bio_PKCS8PrivateKey(bio, key, nullptr, nullptr, 0, nullptr, nullptr);
  });
}

std::string traditional_pem(EVP_PKEY* key) {
  return written_by([&](BIO* bio) {
    return PEM_write_bio_PrivateKey_traditional(bio, key, nullptr, nullptr, 0, nullptr, nullptr);
  });
}

}  // namespace

temporary_folder::temporary_folder() {
  static std::atomic<unsigned> count = 0;
  folder_ = std::filesystem::temp_directory_path() /
            ("pion test " + std::to_string(std::random_device()()) + "-" + std::to_string(++count));
  std::filesystem::create_directories(folder_);
}

temporary_folder::~temporary_folder() { std::filesystem::remove_all(folder_); }

std::string temporary_folder::write(const std::string& name, const std::string& text) const {
  std::ofstream(folder_ / name, std::ios::binary) << text;
  return path(name);
}

test_certificate::test_certificate() {
  const key_ptr made(EVP_EC_gen("P-256"));
  require(made != nullptr);
  const certificate_ptr x509 = self_signed(made.get());
  certificate = certificate_pem(x509.get());
  key = key_pem(made.get());
  sec1_key = traditional_pem(made.get());
  encrypted_key = written_by([&](BIO* bio) {
    return PEM_write_bio_PKCS8PrivateKey(bio, made.get(), EVP_aes_128_cbc(), "phrase", 6, nullptr,
                                         nullptr);
  });
  der = written_by([&](BIO* bio) { return i2d_X509_bio(bio, x509.get()); });
}

std::string make_rsa_pkcs1_pem() {
  const key_ptr made(EVP_RSA_gen(2048));
  require(made != nullptr);
  return traditional_pem(made.get()) + certificate_pem(self_signed(made.get()).get());
}

}  // namespace pion_test
