// What decodes must come back as text that decodes to the same bytes; what doesn't has a fault.
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "krova/protocol/json/base64.h"
#include "require.h"

using Krova::Protocol::Json::DecodeBase64;
using Krova::Protocol::Json::EncodeBase64;

namespace {

void DecodeAndComeBack(std::string_view text) {
  std::vector<std::uint8_t> bytes;
  std::string fault;
  if (!DecodeBase64(text, bytes, fault)) {
    Require(bytes.empty() && !fault.empty());
    return;
  }
  const std::string canonical = EncodeBase64(bytes);
  Require(canonical.size() == text.size());
  std::vector<std::uint8_t> again;
  Require(DecodeBase64(canonical, again, fault) && again == bytes);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  DecodeAndComeBack(std::string_view(reinterpret_cast<const char*>(data), size));

  const std::vector<std::uint8_t> bytes(data, data + size);
  std::vector<std::uint8_t> decoded;
  std::string fault;
  Require(DecodeBase64(EncodeBase64(bytes), decoded, fault) && decoded == bytes);
  return 0;
}
