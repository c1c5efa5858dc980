#include "openssl_faults.h"

#include <openssl/bn.h>
#include <openssl/ec.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rsa.h>
#include <openssl/x509.h>

#include <cstdio>

namespace Halvard::Testing {
namespace {

std::string gFailing;
int gCallsToSpare = 0;

bool IsPlanned(const char* name) { return gFailing == name && --gCallsToSpare < 0; }

/// A failed call answers null or 0.
template <typename Result, typename Function, typename... Arguments>
Result CallUnlessPlanned(const char* name, Function real, Arguments... arguments) {
  return IsPlanned(name) ? Result{} : real(arguments...);
}

}  // namespace

OpenSslFault::OpenSslFault(const std::string& function, int from) {
  gFailing = function;
  gCallsToSpare = from - 1;
}
OpenSslFault::~OpenSslFault() { gFailing.clear(); }

extern "C" {

BIGNUM* __real_BN_new();
BIGNUM* __wrap_BN_new();
BIGNUM* __wrap_BN_new() { return CallUnlessPlanned<BIGNUM*>("BN_new", __real_BN_new); }

int __real_BN_set_word(BIGNUM* number, BN_ULONG word);
int __wrap_BN_set_word(BIGNUM* number, BN_ULONG word);
int __wrap_BN_set_word(BIGNUM* number, BN_ULONG word) {
  return CallUnlessPlanned<int>("BN_set_word", __real_BN_set_word, number, word);
}

RSA* __real_RSA_new();
RSA* __wrap_RSA_new();
RSA* __wrap_RSA_new() { return CallUnlessPlanned<RSA*>("RSA_new", __real_RSA_new); }

int __real_RSA_generate_key_ex(RSA* key, int bits, BIGNUM* exponent, BN_GENCB* callback);
int __wrap_RSA_generate_key_ex(RSA* key, int bits, BIGNUM* exponent, BN_GENCB* callback);
int __wrap_RSA_generate_key_ex(RSA* key, int bits, BIGNUM* exponent, BN_GENCB* callback) {
  return CallUnlessPlanned<int>("RSA_generate_key_ex", __real_RSA_generate_key_ex, key, bits,
                                exponent, callback);
}

EVP_PKEY* __real_EVP_PKEY_new();
EVP_PKEY* __wrap_EVP_PKEY_new();
EVP_PKEY* __wrap_EVP_PKEY_new() {
  return CallUnlessPlanned<EVP_PKEY*>("EVP_PKEY_new", __real_EVP_PKEY_new);
}

int __real_EVP_PKEY_assign(EVP_PKEY* key, int type, void* inner);
int __wrap_EVP_PKEY_assign(EVP_PKEY* key, int type, void* inner);
int __wrap_EVP_PKEY_assign(EVP_PKEY* key, int type, void* inner) {
  return CallUnlessPlanned<int>("EVP_PKEY_assign", __real_EVP_PKEY_assign, key, type, inner);
}

X509* __real_X509_new();
X509* __wrap_X509_new();
X509* __wrap_X509_new() { return CallUnlessPlanned<X509*>("X509_new", __real_X509_new); }

int __real_X509_sign(X509* certificate, EVP_PKEY* key, const EVP_MD* digest);
int __wrap_X509_sign(X509* certificate, EVP_PKEY* key, const EVP_MD* digest);
int __wrap_X509_sign(X509* certificate, EVP_PKEY* key, const EVP_MD* digest) {
  return CallUnlessPlanned<int>("X509_sign", __real_X509_sign, certificate, key, digest);
}

int __real_X509_digest(const X509* certificate, const EVP_MD* type, unsigned char* digest,
                       unsigned int* size);
int __wrap_X509_digest(const X509* certificate, const EVP_MD* type, unsigned char* digest,
                       unsigned int* size);
int __wrap_X509_digest(const X509* certificate, const EVP_MD* type, unsigned char* digest,
                       unsigned int* size) {
  return CallUnlessPlanned<int>("X509_digest", __real_X509_digest, certificate, type, digest, size);
}

int __real_PEM_write_PrivateKey(std::FILE* file, const EVP_PKEY* key, const EVP_CIPHER* cipher,
                                const unsigned char* phrase, int size, pem_password_cb* callback,
                                void* user);
int __wrap_PEM_write_PrivateKey(std::FILE* file, const EVP_PKEY* key, const EVP_CIPHER* cipher,
                                const unsigned char* phrase, int size, pem_password_cb* callback,
                                void* user);
int __wrap_PEM_write_PrivateKey(std::FILE* file, const EVP_PKEY* key, const EVP_CIPHER* cipher,
                                const unsigned char* phrase, int size, pem_password_cb* callback,
                                void* user) {
  return CallUnlessPlanned<int>("PEM_write_PrivateKey", __real_PEM_write_PrivateKey, file, key,
                                cipher, phrase, size, callback, user);
}

int __real_PEM_write_X509(std::FILE* file, const X509* certificate);
int __wrap_PEM_write_X509(std::FILE* file, const X509* certificate);
int __wrap_PEM_write_X509(std::FILE* file, const X509* certificate) {
  return CallUnlessPlanned<int>("PEM_write_X509", __real_PEM_write_X509, file, certificate);
}

int __real_fflush(std::FILE* stream);
int __wrap_fflush(std::FILE* stream);
int __wrap_fflush(std::FILE* stream) {
  // The log flushes too, and its lines are looked at.
  const int result = __real_fflush(stream);
  return IsPlanned("fflush") ? EOF : result;
}

EC_KEY* __real_EC_KEY_new_by_curve_name(int curve);
EC_KEY* __wrap_EC_KEY_new_by_curve_name(int curve);
EC_KEY* __wrap_EC_KEY_new_by_curve_name(int curve) {
  return CallUnlessPlanned<EC_KEY*>("EC_KEY_new_by_curve_name", __real_EC_KEY_new_by_curve_name,
                                    curve);
}

}  // extern "C"

}  // namespace Halvard::Testing
