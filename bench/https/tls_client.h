// The client's side of TLS for both loads of the servers: what they offer, and how they resume.
#pragma once

#include <openssl/ssl.h>

#include <memory>

namespace Bench {

struct OpensslDeleter {
  void operator()(SSL_CTX* context) const { SSL_CTX_free(context); }
  void operator()(SSL* ssl) const { SSL_free(ssl); }
  void operator()(SSL_SESSION* session) const { SSL_SESSION_free(session); }
};
using ContextPointer = std::unique_ptr<SSL_CTX, OpensslDeleter>;
using SslPointer = std::unique_ptr<SSL, OpensslDeleter>;
using SessionPointer = std::unique_ptr<SSL_SESSION, OpensslDeleter>;

/// The first session that a server has granted, which all further connections resume; null before,
/// and without resumption.
inline SessionPointer& ServersSession() {
  static SessionPointer session;
  return session;
}

inline int KeepFirstSession(SSL*, SSL_SESSION* session) {
  if (ServersSession()) return 0;
  ServersSession().reset(session);
  return 1;
}

/// Certificates aren't verified.
/// \param tlsVersion  TLS1_2_VERSION or TLS1_3_VERSION: the one that is offered.
/// \param resume      Keeps the first session, in ServersSession().
inline ContextPointer MakeClientContext(int tlsVersion, bool resume) {
  ContextPointer context(SSL_CTX_new(TLS_client_method()));
  SSL_CTX_set_min_proto_version(context.get(), tlsVersion);
  SSL_CTX_set_max_proto_version(context.get(), tlsVersion);
  SSL_CTX_set1_groups_list(context.get(), "P-256");
  SSL_CTX_set_cipher_list(context.get(), "ECDHE-RSA-AES256-GCM-SHA384");
  SSL_CTX_set_ciphersuites(context.get(), "TLS_AES_256_GCM_SHA384");
  SSL_CTX_set_cert_verify_callback(
      context.get(), [](X509_STORE_CTX*, void*) { return 1; }, nullptr);
  SSL_CTX_set_session_cache_mode(
      context.get(),
      SSL_SESS_CACHE_NO_INTERNAL_STORE | (resume ? SSL_SESS_CACHE_CLIENT : SSL_SESS_CACHE_OFF));
  if (resume) SSL_CTX_sess_set_new_cb(context.get(), KeepFirstSession);
  return context;
}

}  // namespace Bench
