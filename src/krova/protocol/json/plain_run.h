// Where strings of JSON text can be copied without a look at each byte.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace Krova::Protocol::Json {

/// Bytes that are looked at together.
inline constexpr std::size_t kRunStep = 8;

/// \p at has kRunStep readable bytes. \return These, the first one lowest.
inline std::uint64_t ReadStep(const char* at) {
  static_assert(std::endian::native == std::endian::little);
  std::uint64_t bytes;
  static_assert(sizeof bytes == kRunStep);
  std::memcpy(&bytes, at, sizeof bytes);
  return bytes;
}

/// A plain byte stands for itself between double quotes: it is no control byte (below 0x20), no
/// double quote and no backslash.
/// \return The high bit of each byte that isn't plain.
inline std::uint64_t MarkSpecial(std::uint64_t bytes) {
  constexpr std::uint64_t kOnes = 0x0101010101010101;
  constexpr std::uint64_t kHighBits = 0x8080808080808080;
  // Without their high bits, bytes can be added to without a carry into the next one: the high bit
  // of a sum tells that its byte is no control byte, no double quote, no backslash. Bytes that had
  // it before are plain.
  const std::uint64_t low = bytes & ~kHighBits;
  const std::uint64_t plain = (low + kOnes * (0x80 - 0x20)) & ((low ^ kOnes * '"') + kOnes * 0x7F) &
                              ((low ^ kOnes * '\\') + kOnes * 0x7F);
  return ~(plain | bytes) & kHighBits;
}

/// \p at has kRunStep readable bytes.
/// \return How many of these are plain, counted up to the first that isn't.
inline std::size_t CountPlain(const char* at) {
  return static_cast<std::size_t>(std::countr_zero(MarkSpecial(ReadStep(at)))) / 8;
}

}  // namespace Krova::Protocol::Json
