// The MD5 digest of RFC 1321. It tells whether two ends serve the same; it protects nothing.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace Krova::Provider {

class Md5 {
 public:
  using Digest = std::array<std::uint8_t, 16>;

  /// Takes more of the message.
  void Update(std::string_view bytes);
  /// Ends the message. The object isn't used any more then.
  Digest Finish();

 private:
  static constexpr std::size_t kBlockSize = 64;
  using Words = std::array<std::uint32_t, 4>;

  void AddBlock(const std::uint8_t* block);

  Words state_ = {0x67452301, 0xefcdab89, 0x98badcfe, 0x10325476};
  std::uint64_t size_ = 0;  // In bytes, of the whole message so far.
  std::array<std::uint8_t, kBlockSize> block_{};
};

}  // namespace Krova::Provider
