// Where strings of JSON text can be copied without a look at each byte.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace Krova::Protocol::Json {

/// Bytes that are looked at together.
inline constexpr std::size_t kRunStep = 8;

/// A plain byte stands for itself between double quotes: it is no control byte (below 0x20), no
/// double quote and no backslash. \p at has kRunStep readable bytes.
/// \return How many of these are plain, counted up to the first that isn't.
inline std::size_t CountPlain(const char* at) {
  static_assert(std::endian::native == std::endian::little);
  constexpr std::uint64_t kOnes = 0x0101010101010101;
  constexpr std::uint64_t kHighBits = 0x8080808080808080;
  std::uint64_t word;
  std::memcpy(&word, at, sizeof word);
  // A byte of (x - kOnes) & ~x has its high bit set if the byte of x is zero. Borrows can set it
  // falsely only above a byte that is rightly set, and the lowest one is what counts.
  const std::uint64_t quote = word ^ (kOnes * '"');
  const std::uint64_t backslash = word ^ (kOnes * '\\');
  const std::uint64_t special = ((word - kOnes * 0x20) & ~word) | ((quote - kOnes) & ~quote) |
                                ((backslash - kOnes) & ~backslash);
  const std::uint64_t marks = special & kHighBits;
  return static_cast<std::size_t>(std::countr_zero(marks)) / 8;
}

}  // namespace Krova::Protocol::Json
