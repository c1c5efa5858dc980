#include "tls_faults.h"

#include <openssl/err.h>
#include <openssl/ssl.h>

namespace Tunrak::Testing {
namespace {

thread_local std::string tFailing;

/// A failed call answers null, with its reason in the thread's queue.
bool IsPlanned(const char* function) {
  if (tFailing != function) return false;
  ERR_raise(ERR_LIB_SSL, ERR_R_MALLOC_FAILURE);
  return true;
}

}  // namespace

TlsFault::TlsFault(const std::string& function) { tFailing = function; }
TlsFault::~TlsFault() { tFailing.clear(); }

extern "C" {

SSL_CTX* __real_SSL_CTX_new(const SSL_METHOD* method);
SSL_CTX* __wrap_SSL_CTX_new(const SSL_METHOD* method);
SSL_CTX* __wrap_SSL_CTX_new(const SSL_METHOD* method) {
  return IsPlanned("SSL_CTX_new") ? nullptr : __real_SSL_CTX_new(method);
}

SSL* __real_SSL_new(SSL_CTX* context);
SSL* __wrap_SSL_new(SSL_CTX* context);
SSL* __wrap_SSL_new(SSL_CTX* context) {
  return IsPlanned("SSL_new") ? nullptr : __real_SSL_new(context);
}

}  // extern "C"

}  // namespace Tunrak::Testing
