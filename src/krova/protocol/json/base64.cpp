#include "krova/protocol/json/base64.h"

#include <array>
#include <cstddef>

namespace Krova::Protocol::Json {
namespace {

constexpr std::string_view kAlphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr char kPad = '=';
constexpr std::uint8_t kNoDigit = 0xFF;

constexpr std::array<std::uint8_t, 256> MakeDigits() {
  std::array<std::uint8_t, 256> digits{};
  digits.fill(kNoDigit);
  for (std::size_t i = 0; i < kAlphabet.size(); ++i) {
    digits[static_cast<unsigned char>(kAlphabet[i])] = static_cast<std::uint8_t>(i);
  }
  return digits;
}

constexpr std::array<std::uint8_t, 256> kDigits = MakeDigits();

std::uint32_t DigitOf(char c) { return kDigits[static_cast<unsigned char>(c)]; }

/// How many characters at the end of \p text are padding, 0 to 2. More pads than two are faults of
/// the characters before.
std::size_t CountPads(std::string_view text) {
  if (text.empty() || text.back() != kPad) return 0;
  return text[text.size() - 2] == kPad ? 2 : 1;
}

/// Names the first character of \p digits that is no digit.
const char* FaultOf(std::string_view digits) {
  for (const char c : digits) {
    if (c == kPad) return "Invalid Padding in Base 64!";
    if (DigitOf(c) == kNoDigit) break;
  }
  return "Non-Valid Character in Base 64!";
}

/// Appends the bytes of \p digits, which has no padding. A last group of two or three digits
/// gives one or two bytes. False if a character is no digit.
bool AppendBytes(std::string_view digits, std::vector<std::uint8_t>& bytes) {
  std::uint32_t group = 0;
  std::uint32_t seen = 0;
  std::size_t pending = 0;
  for (const char c : digits) {
    const std::uint32_t digit = DigitOf(c);
    // No digit has its upper bits set, so one look at the end tells whether all were digits.
    seen |= digit;
    group = (group << 6) | (digit & 0x3F);
    if (++pending < 4) continue;
    bytes.push_back(static_cast<std::uint8_t>(group >> 16));
    bytes.push_back(static_cast<std::uint8_t>(group >> 8));
    bytes.push_back(static_cast<std::uint8_t>(group));
    pending = 0;
  }
  if (pending == 2) bytes.push_back(static_cast<std::uint8_t>(group >> 4));
  if (pending == 3) {
    bytes.push_back(static_cast<std::uint8_t>(group >> 10));
    bytes.push_back(static_cast<std::uint8_t>(group >> 2));
  }
  return seen < 0x40;
}

char DigitAt(std::uint32_t group, unsigned shift) { return kAlphabet[(group >> shift) & 0x3F]; }

}  // namespace

std::string EncodeBase64(const std::vector<std::uint8_t>& bytes) {
  std::string text;
  text.reserve((bytes.size() + 2) / 3 * 4);
  std::size_t at = 0;
  for (; bytes.size() - at >= 3; at += 3) {
    const std::uint32_t group =
        std::uint32_t{bytes[at]} << 16 | std::uint32_t{bytes[at + 1]} << 8 | bytes[at + 2];
    for (const unsigned shift : {18U, 12U, 6U, 0U}) text.push_back(DigitAt(group, shift));
  }
  const std::size_t rest = bytes.size() - at;
  if (rest == 0) return text;
  const std::uint32_t second = rest == 2 ? bytes[at + 1] : 0U;
  const std::uint32_t group = std::uint32_t{bytes[at]} << 16 | second << 8;
  text.push_back(DigitAt(group, 18));
  text.push_back(DigitAt(group, 12));
  text.push_back(rest == 2 ? DigitAt(group, 6) : kPad);
  text.push_back(kPad);
  return text;
}

bool DecodeBase64(std::string_view text, std::vector<std::uint8_t>& bytes, std::string& fault) {
  bytes.clear();
  if (text.size() % 4 != 0) {
    fault = "Non-Valid base64!";
    return false;
  }
  const std::string_view digits = text.substr(0, text.size() - CountPads(text));
  bytes.reserve(text.size() / 4 * 3);
  if (AppendBytes(digits, bytes)) return true;
  bytes.clear();
  fault = FaultOf(digits);
  return false;
}

}  // namespace Krova::Protocol::Json
