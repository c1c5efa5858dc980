#include "standins/sshd/ssh_files.h"

#include <crypt.h>
#include <openssl/evp.h>

#include <fstream>
#include <stdexcept>
#include <vector>

namespace Lab {
namespace {

/// \return The bytes; base64's own decoder counts the padding among them.
std::vector<unsigned char> FromBase64(const std::string& text) {
  std::vector<unsigned char> bytes(text.size());
  const int length =
      EVP_DecodeBlock(bytes.data(), reinterpret_cast<const unsigned char*>(text.data()),
                      static_cast<int>(text.size()));
  const std::size_t padding = text.size() - text.find_last_not_of('=') - 1;
  if (length < 0 || static_cast<std::size_t>(length) < padding) return {};
  bytes.resize(static_cast<std::size_t>(length) - padding);
  return bytes;
}

}  // namespace

std::string ShadowLine(const std::string& user, const std::string& password) {
  crypt_data data = {};
  const char* const hash = crypt_r(password.c_str(), "$6$halvardlab$", &data);
  if (hash == nullptr) throw std::runtime_error("crypt_r doesn't know this kind of hash");
  return user + ":" + hash + ":19000::::::";
}

std::string KeyThumbprint(const std::filesystem::path& publicKey) {
  std::ifstream in(publicKey);
  std::string type, key;
  in >> type >> key;
  const std::vector<unsigned char> bytes = FromBase64(key);
  if (bytes.empty()) throw std::runtime_error(publicKey.string() + ": no public key");
  unsigned char digest[EVP_MAX_MD_SIZE] = {};
  unsigned length = 0;
  if (EVP_Digest(bytes.data(), bytes.size(), digest, &length, EVP_sha1(), nullptr) != 1) {
    throw std::runtime_error("no SHA-1");
  }
  std::string text;
  char part[4] = {};
  for (unsigned i = 0; i < length; ++i) {
    std::snprintf(part, sizeof(part), "%s%02X", i == 0 ? "" : ":", digest[i]);
    text += part;
  }
  return text;
}

}  // namespace Lab
