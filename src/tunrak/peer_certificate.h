// Who the far end of a TLS connection is.
#pragma once

#include <openssl/ssl.h>

#include <string>

namespace Tunrak::Ssl {

/// How the certificate of one connection's peer is judged. The process's verify type is taken when
/// the object is made, before the handshake.
class CertificateCheck {
 public:
  /// Sets the connection up for the handshake.
  /// \param ssl         Outlives the object.
  /// \param thumbprint  SHA-1 as "AB:CD:..." in either case; empty: chain and name are verified.
  CertificateCheck(SSL* ssl, const std::string& host, bool isAddress,
                   const std::string& thumbprint);

  /// \return Why the handshake failed: what is wrong with the certificate, or \p otherwise.
  std::string HandshakeFailure(const std::string& otherwise) const;

  /// Compares the thumbprint, after the handshake.
  /// \throws Exception  if it is another one.
  void Compare(const std::string& peer) const;

 private:
  SSL* ssl_;
  std::string thumbprint_;
  bool judges_;
};

}  // namespace Tunrak::Ssl
