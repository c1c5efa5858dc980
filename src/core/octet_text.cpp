#include "core/octet_text.h"

#include <string_view>

namespace Halvard {

std::string OctetText(const unsigned char* octets, std::size_t count) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  std::string text;
  for (std::size_t i = 0; i < count; ++i) {
    if (i > 0) text += ':';
    text += kDigits[octets[i] >> 4];
    text += kDigits[octets[i] & 0xF];
  }
  return text;
}

}  // namespace Halvard
