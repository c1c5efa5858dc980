#include "machine/hex_bytes.h"

#include <algorithm>

namespace Lab {

std::string HexBytes(const std::string& text) {
  constexpr int kBase = 16;
  std::string digits = text;
  digits.erase(std::remove(digits.begin(), digits.end(), ':'), digits.end());
  std::string bytes;
  for (std::size_t i = 0; i + 1 < digits.size(); i += 2) {
    bytes += static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, kBase));
  }
  return bytes;
}

}  // namespace Lab
