// TLS settings: those of the process, and those of a context.
#pragma once

#include <memory>
#include <string>

#include "tunrak/crypto.h"

namespace Tunrak::Ssl {

/// Verify types of the process.
inline constexpr int kVerifyNone = -1;  ///< A peer's certificate is neither verified nor compared.
inline constexpr int kVerifyDefault = 0;  ///< It is compared with a thumbprint, or verified.

/// Prepares TLS for the process.
/// \param ciphers  List of OpenSSL's form for TLS up to 1.2; empty for the default.
void InitSSL(const std::string& ciphers);

/// Decides for the whole process, from now on and for connections of contexts that exist already.
/// \throws Exception  for a type that isn't named above.
void SetVerifySSLCertificates(int verifyType);
int GetVerifySSLCertificates();

class Context;

/// \param supportedVersions  0 for those that the TLS library offers by itself.
/// \throws Exception  for other versions, unknown ciphers, or a TLS library out of memory.
std::shared_ptr<Context> CreateSSLContext(const std::shared_ptr<const Crypto::KeyStore>& keyStore,
                                          int supportedVersions);

}  // namespace Tunrak::Ssl
