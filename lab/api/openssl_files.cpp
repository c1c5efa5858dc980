// OpenSSL opens files by itself, on Windows by Windows paths in UTF-8. Programs over the lab are
// linked so that their calls of these functions pass through here (see the lab's CMakeLists.txt).
#include <string>

#include "machine/paths.h"
#include "machine/text.h"

struct ssl_ctx_st;

namespace {

/// \return Where the file lies on the host; the path as it stands when there's no such file, so
///         that OpenSSL reports it in its own way.
std::string HostFile(const char* path) {
  const Lab::FoundPath found = Lab::FindPath(Lab::ToWide(path));
  return found.error == 0 ? found.host.string() : path;
}

}  // namespace

extern "C" {

int __real_SSL_CTX_use_certificate_file(ssl_ctx_st* context, const char* file, int type);
int __wrap_SSL_CTX_use_certificate_file(ssl_ctx_st* context, const char* file, int type);
int __wrap_SSL_CTX_use_certificate_file(ssl_ctx_st* context, const char* file, int type) {
  return __real_SSL_CTX_use_certificate_file(context, HostFile(file).c_str(), type);
}

int __real_SSL_CTX_use_PrivateKey_file(ssl_ctx_st* context, const char* file, int type);
int __wrap_SSL_CTX_use_PrivateKey_file(ssl_ctx_st* context, const char* file, int type);
int __wrap_SSL_CTX_use_PrivateKey_file(ssl_ctx_st* context, const char* file, int type) {
  return __real_SSL_CTX_use_PrivateKey_file(context, HostFile(file).c_str(), type);
}

}  // extern "C"
