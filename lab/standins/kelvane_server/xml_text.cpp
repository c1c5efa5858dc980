#include "xml_text.h"

#include <charconv>
#include <cstdint>
#include <system_error>

#include "soap_fault.h"

namespace Lab::Kelvane {
namespace {

constexpr std::uint32_t kNoCharacter = 0xFFFFFFFF;

/// XML 1.0's Char.
bool IsXmlCharacter(std::uint32_t c) {
  return c == 0x9 || c == 0xA || c == 0xD || (c >= 0x20 && c <= 0xD7FF) ||
         (c >= 0xE000 && c <= 0xFFFD) || (c >= 0x10000 && c <= 0x10FFFF);
}

/// Takes the first character off the text. \return kNoCharacter for what isn't UTF-8.
std::uint32_t TakeCharacter(std::string_view& text) {
  const auto first = static_cast<unsigned char>(text[0]);
  text.remove_prefix(1);
  if (first < 0x80) return first;
  const unsigned following = first >= 0xF0 ? 3 : first >= 0xE0 ? 2 : 1;
  if (first < 0xC2 || first > 0xF4 || text.size() < following) return kNoCharacter;
  std::uint32_t c = first & (0x3Fu >> following);
  for (unsigned i = 0; i < following; ++i) {
    const auto next = static_cast<unsigned char>(text[0]);
    if ((next & 0xC0) != 0x80) return kNoCharacter;
    c = (c << 6) | (next & 0x3Fu);
    text.remove_prefix(1);
  }
  constexpr std::uint32_t kSmallest[] = {0, 0x80, 0x800, 0x10000};
  return c < kSmallest[following] ? kNoCharacter : c;
}

/// Whether what stands between & and ; is a reference that XML knows without a document type.
bool IsReference(std::string_view name) {
  for (const std::string_view known : {"amp", "lt", "gt", "quot", "apos"}) {
    if (name == known) return true;
  }
  if (name.size() < 2 || name[0] != '#') return false;
  const bool hexadecimal = name[1] == 'x';
  name.remove_prefix(hexadecimal ? 2 : 1);
  std::uint32_t c = 0;
  const auto [end, error] =
      std::from_chars(name.data(), name.data() + name.size(), c, hexadecimal ? 16 : 10);
  return error == std::errc{} && !name.empty() && end == name.data() + name.size() &&
         IsXmlCharacter(c);
}

/// Follows the text, knowing only whether it is inside a tag and inside quotes.
class TextCheck {
 public:
  explicit TextCheck(std::string_view document) : rest_(document) {}

  void Run() {
    SkipDeclaration();
    while (!rest_.empty()) {
      const std::string_view here = rest_;
      const std::uint32_t c = TakeCharacter(rest_);
      if (c == kNoCharacter) Refuse("The request isn't UTF-8.");
      if (!IsXmlCharacter(c)) Refuse("The request has a character that XML lacks.");
      if (c == '&') SkipReference();
      if (quote_ != 0) {
        InQuotes(c);
      } else if (inTag_) {
        InTag(c);
      } else {
        InText(c, here);
      }
    }
  }

 private:
  void SkipDeclaration() {
    constexpr std::string_view kDeclaration = R"(<?xml version="1.0" encoding="UTF-8"?>)";
    if (rest_.substr(0, kDeclaration.size()) != kDeclaration) {
      Refuse("The request doesn't begin with " + std::string(kDeclaration));
    }
    rest_.remove_prefix(kDeclaration.size());
  }

  void SkipReference() {
    const std::size_t end = rest_.find(';');
    if (end == std::string_view::npos || !IsReference(rest_.substr(0, end))) {
      Refuse("The request has a bare & or an unknown reference.");
    }
    rest_.remove_prefix(end + 1);
  }

  void InQuotes(std::uint32_t c) {
    if (c == '<') Refuse("The request has a bare < in an attribute.");
    if (c == quote_) quote_ = 0;
  }

  void InTag(std::uint32_t c) {
    if (c == '"' || c == '\'') quote_ = c;
    if (c == '<') Refuse("The request has a < within a tag.");
    if (c == '>') inTag_ = false;
  }

  void InText(std::uint32_t c, std::string_view here) {
    if (c == '>') Refuse("The request has a bare >.");
    if (c != '<') return;
    if (here.size() > 1 && (here[1] == '!' || here[1] == '?')) {
      Refuse("The request has markup other than elements.");
    }
    inTag_ = true;
  }

  std::string_view rest_;
  bool inTag_ = false;
  std::uint32_t quote_ = 0;
};

}  // namespace

void CheckXmlText(std::string_view document) { TextCheck(document).Run(); }

std::string EscapeXml(std::string_view text) {
  std::string escaped;
  escaped.reserve(text.size());
  for (const char c : text) {
    switch (c) {
      case '&':
        escaped += "&amp;";
        break;
      case '<':
        escaped += "&lt;";
        break;
      case '>':
        escaped += "&gt;";
        break;
      case '"':
        escaped += "&quot;";
        break;
      case '\r':
        escaped += "&#13;";
        break;
      default:
        escaped += c;
    }
  }
  return escaped;
}

std::string Element(std::string_view name, std::string_view text) {
  std::string element;
  element.reserve(2 * name.size() + text.size() + 5);
  element.append("<").append(name).append(">").append(EscapeXml(text));
  element.append("</").append(name).append(">");
  return element;
}

}  // namespace Lab::Kelvane
