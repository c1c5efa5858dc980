#include "thumbprint.h"

#include <openssl/evp.h>

#include "failure.h"

namespace Hvctl {
namespace {

constexpr std::size_t kDigits = 40;
constexpr std::string_view kHex = "0123456789ABCDEF";

std::string JoinPairs(std::string_view digits) {
  std::string text;
  for (std::size_t i = 0; i < digits.size(); i += 2) {
    if (i > 0) text += ':';
    text += digits.substr(i, 2);
  }
  return text;
}

}  // namespace

std::optional<std::string> NormalizeThumbprint(std::string_view text) {
  std::string digits;
  for (const char c : text) {
    if (c == ':' || c == ' ') continue;
    const char upper = c >= 'a' && c <= 'f' ? static_cast<char>(c - 'a' + 'A') : c;
    if (kHex.find(upper) == std::string_view::npos) return std::nullopt;
    digits += upper;
  }
  if (digits.size() != kDigits) return std::nullopt;
  return JoinPairs(digits);
}

std::string ThumbprintOf(const X509* certificate) {
  unsigned char digest[EVP_MAX_MD_SIZE];
  unsigned int size = 0;
  if (X509_digest(certificate, EVP_sha1(), digest, &size) == 0) {
    throw Failure(ExitCode::kNotTrusted, "The thumbprint of the certificate can't be computed.");
  }
  std::string digits;
  for (unsigned int i = 0; i < size; ++i) {
    digits += kHex[digest[i] >> 4];
    digits += kHex[digest[i] & 0x0F];
  }
  return JoinPairs(digits);
}

}  // namespace Hvctl
