#include "krova/provider/md5.h"

#include <algorithm>
#include <bit>

namespace Krova::Provider {
namespace {

// The integer parts of 2^32 times the sines of 1, 2, ... 64.
constexpr std::array<std::uint32_t, 64> kSines = {
    0xd76aa478, 0xe8c7b756, 0x242070db, 0xc1bdceee, 0xf57c0faf, 0x4787c62a, 0xa8304613, 0xfd469501,
    0x698098d8, 0x8b44f7af, 0xffff5bb1, 0x895cd7be, 0x6b901122, 0xfd987193, 0xa679438e, 0x49b40821,
    0xf61e2562, 0xc040b340, 0x265e5a51, 0xe9b6c7aa, 0xd62f105d, 0x02441453, 0xd8a1e681, 0xe7d3fbc8,
    0x21e1cde6, 0xc33707d6, 0xf4d50d87, 0x455a14ed, 0xa9e3e905, 0xfcefa3f8, 0x676f02d9, 0x8d2a4c8a,
    0xfffa3942, 0x8771f681, 0x6d9d6122, 0xfde5380c, 0xa4beea44, 0x4bdecfa9, 0xf6bb4b60, 0xbebfbc70,
    0x289b7ec6, 0xeaa127fa, 0xd4ef3085, 0x04881d05, 0xd9d4d039, 0xe6db99e5, 0x1fa27cf8, 0xc4ac5665,
    0xf4292244, 0x432aff97, 0xab9423a7, 0xfc93a039, 0x655b59c3, 0x8f0ccc92, 0xffeff47d, 0x85845dd1,
    0x6fa87e4f, 0xfe2ce6e0, 0xa3014314, 0x4e0811a1, 0xf7537e82, 0xbd3af235, 0x2ad7d2bb, 0xeb86d391};

// By round and step in the round.
constexpr int kShifts[4][4] = {{7, 12, 17, 22}, {5, 9, 14, 20}, {4, 11, 16, 23}, {6, 10, 15, 21}};

// How a round mixes three of the words, and which word of the block a step takes.
std::uint32_t Mix(std::size_t round, std::uint32_t b, std::uint32_t c, std::uint32_t d) {
  if (round == 0) return (b & c) | (~b & d);
  if (round == 1) return (d & b) | (~d & c);
  if (round == 2) return b ^ c ^ d;
  return c ^ (b | ~d);
}

std::size_t WordOfStep(std::size_t round, std::size_t step) {
  constexpr std::size_t kFactors[] = {1, 5, 3, 7};
  constexpr std::size_t kOffsets[] = {0, 1, 5, 0};
  return (kFactors[round] * step + kOffsets[round]) % 16;
}

std::uint32_t LoadWord(const std::uint8_t* bytes) {
  std::uint32_t word = 0;
  for (int place = 3; place >= 0; --place) word = word << 8 | bytes[place];
  return word;
}

}  // namespace

void Md5::Update(std::string_view bytes) {
  while (!bytes.empty()) {
    const std::size_t used = static_cast<std::size_t>(size_ % kBlockSize);
    const std::size_t taken = std::min(kBlockSize - used, bytes.size());
    std::copy_n(bytes.begin(), taken, block_.begin() + static_cast<std::ptrdiff_t>(used));
    size_ += taken;
    bytes.remove_prefix(taken);
    if (used + taken == kBlockSize) AddBlock(block_.data());
  }
}

Md5::Digest Md5::Finish() {
  // A set bit and zeros up to the last 8 bytes of a block, which hold the size in bits.
  const std::uint64_t bits = size_ * 8;
  Update("\x80");
  while (size_ % kBlockSize != kBlockSize - 8) Update(std::string_view("\0", 1));
  for (int place = 0; place < 8; ++place) {
    const char byte = static_cast<char>(bits >> (8 * place) & 0xFF);
    Update(std::string_view(&byte, 1));
  }
  Digest digest;
  for (std::size_t place = 0; place < digest.size(); ++place) {
    digest[place] = static_cast<std::uint8_t>(state_[place / 4] >> (8 * (place % 4)) & 0xFF);
  }
  return digest;
}

void Md5::AddBlock(const std::uint8_t* block) {
  auto [a, b, c, d] = state_;
  for (std::size_t step = 0; step < kSines.size(); ++step) {
    const std::size_t round = step / 16;
    const std::uint32_t sum =
        a + Mix(round, b, c, d) + kSines[step] + LoadWord(block + 4 * WordOfStep(round, step));
    a = d;
    d = c;
    c = b;
    b += std::rotl(sum, kShifts[round][step % 4]);
  }
  state_ = {state_[0] + a, state_[1] + b, state_[2] + c, state_[3] + d};
}

}  // namespace Krova::Provider
