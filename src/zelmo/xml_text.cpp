#include "zelmo/xml_text.h"

#include <cstddef>

namespace Zelmo {
namespace {

constexpr std::uint32_t kNoCharacter = 0;

/// How a first byte tells the length of a character, and from which code point on that length is
/// the shortest one.
struct Form {
  unsigned mask;
  unsigned mark;
  std::size_t followers;
  std::uint32_t lowest;
};
constexpr Form kForms[] = {
    {0xE0, 0xC0, 1, 0x80},
    {0xF0, 0xE0, 2, 0x800},
    {0xF8, 0xF0, 3, 0x10000},
};

unsigned ByteAt(std::string_view text, std::size_t at) {
  return static_cast<unsigned char>(text[at]);
}

/// Decodes one character of more than one byte and moves \p at behind it.
std::uint32_t DecodeLong(std::string_view text, std::size_t& at, const Form& form) {
  std::uint32_t codePoint = ByteAt(text, at) & ~form.mask & 0xFFU;
  for (std::size_t i = 1; i <= form.followers; ++i) {
    if (at + i >= text.size() || (ByteAt(text, at + i) & 0xC0) != 0x80) return kNoCharacter;
    codePoint = codePoint << 6 | (ByteAt(text, at + i) & 0x3F);
  }
  at += form.followers + 1;
  return codePoint < form.lowest ? kNoCharacter : codePoint;
}

std::uint32_t Decode(std::string_view text, std::size_t& at) {
  const unsigned first = ByteAt(text, at);
  if (first < 0x80) {
    ++at;
    return first;
  }
  for (const Form& form : kForms) {
    if ((first & form.mask) == form.mark) return DecodeLong(text, at, form);
  }
  return kNoCharacter;
}

}  // namespace

bool IsXmlCharacter(std::uint32_t codePoint) {
  if (codePoint < 0x20) return codePoint == '\t' || codePoint == '\n' || codePoint == '\r';
  if (codePoint < 0xD800) return true;
  return (codePoint >= 0xE000 && codePoint <= 0xFFFD) ||
         (codePoint >= 0x10000 && codePoint <= 0x10FFFF);
}

bool IsXmlText(std::string_view text) {
  for (std::size_t at = 0; at < text.size();) {
    if (!IsXmlCharacter(Decode(text, at))) return false;
  }
  return true;
}

}  // namespace Zelmo
