// Keys and certificates of this side.
#pragma once

#include <memory>
#include <string>
#include <vector>

namespace Tunrak::Crypto {

/// What this side shows to a peer that asks who it is. Always empty: this library's clients are
/// known by user and password.
class KeyStore {};

/// \param privateKey,certificate,certificates  PEM texts; all of them empty.
/// \throws Exception  if any is given.
std::shared_ptr<const KeyStore> CreateKeyStore(const std::string& privateKey,
                                               const std::string& certificate,
                                               const std::vector<std::string>& certificates);

}  // namespace Tunrak::Crypto
