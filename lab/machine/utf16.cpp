#include "machine/utf16.h"

namespace Lab {

std::wstring DecodeUtf16(const std::vector<std::uint8_t>& bytes) {
  std::wstring text;
  for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
    const auto unit = static_cast<char32_t>(bytes[i] | (bytes[i + 1] << 8));
    const bool second = (unit & 0xFC00) == 0xDC00;
    if (second && !text.empty() && (static_cast<char32_t>(text.back()) & ~0x3FFu) == 0xD800) {
      const auto high = static_cast<char32_t>(text.back()) & 0x3FF;
      text.back() = static_cast<wchar_t>(0x10000 + (high << 10) + (unit & 0x3FF));
    } else {
      text += static_cast<wchar_t>(unit);
    }
  }
  return text;
}

std::vector<std::uint8_t> EncodeUtf16(std::wstring_view text) {
  std::vector<std::uint8_t> bytes;
  const auto add = [&](char32_t unit) {
    bytes.push_back(static_cast<std::uint8_t>(unit & 0xFF));
    bytes.push_back(static_cast<std::uint8_t>(unit >> 8));
  };
  for (const wchar_t c : text) {
    const auto value = static_cast<char32_t>(c);
    if (value > 0xFFFF) add(0xD800 + ((value - 0x10000) >> 10));
    add(value > 0xFFFF ? 0xDC00 + (value & 0x3FF) : value);
  }
  return bytes;
}

}  // namespace Lab
