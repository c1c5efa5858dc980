#include "machine/text.h"

#include <locale.h>
#include <wctype.h>

#include <algorithm>

namespace Lab {
namespace {

constexpr char32_t kReplacement = 0xFFFD;

// The program runs in the "C" locale, which knows the case of ASCII alone.
locale_t UnicodeLocale() {
  static const locale_t locale = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
  return locale;
}

wchar_t Fold(wchar_t c) {
  return static_cast<wchar_t>(towupper_l(static_cast<wint_t>(c), UnicodeLocale()));
}

void AppendUtf8(char32_t c, std::string& out) {
  const auto tail = [&](int shift) { out += static_cast<char>(0x80 | ((c >> shift) & 0x3F)); };
  if (c < 0x80) {
    out += static_cast<char>(c);
  } else if (c < 0x800) {
    out += static_cast<char>(0xC0 | (c >> 6));
    tail(0);
  } else if (c < 0x10000) {
    out += static_cast<char>(0xE0 | (c >> 12));
    tail(6);
    tail(0);
  } else {
    out += static_cast<char>(0xF0 | (c >> 18));
    tail(12);
    tail(6);
    tail(0);
  }
}

bool IsCharacter(char32_t c) { return c < 0xD800 || (c > 0xDFFF && c < 0x110000); }

/// Takes one character off the front of \p utf8; a byte that begins none counts as one.
char32_t TakeCharacter(std::string_view& utf8) {
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(utf8[i]); };
  const unsigned char lead = byte(0);
  const std::size_t length = lead < 0x80 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
  constexpr char32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
  char32_t c = length == 1 ? lead : lead & (0xFF >> (length + 1));
  bool good = length == 1 || (lead >= 0xC2 && lead < 0xF5 && utf8.size() >= length);
  for (std::size_t i = 1; good && i < length; ++i) {
    good = (byte(i) & 0xC0) == 0x80;
    c = (c << 6) | (byte(i) & 0x3F);
  }
  good = good && c >= kSmallest[length] && IsCharacter(c);
  utf8.remove_prefix(good ? length : 1);
  return good ? c : kReplacement;
}

}  // namespace

std::string ToUtf8(std::wstring_view text) {
  std::string out;
  out.reserve(text.size());
  for (const wchar_t unit : text) {
    const auto c = static_cast<char32_t>(unit);
    AppendUtf8(IsCharacter(c) ? c : kReplacement, out);
  }
  return out;
}

std::wstring ToWide(std::string_view utf8) {
  std::wstring out;
  out.reserve(utf8.size());
  while (!utf8.empty()) out += static_cast<wchar_t>(TakeCharacter(utf8));
  return out;
}

std::wstring FoldCase(std::wstring_view text) {
  std::wstring folded(text);
  std::transform(folded.begin(), folded.end(), folded.begin(), Fold);
  return folded;
}

bool EqualNoCase(std::wstring_view left, std::wstring_view right) {
  return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                    [](wchar_t a, wchar_t b) { return Fold(a) == Fold(b); });
}

bool LessNoCase::operator()(std::wstring_view left, std::wstring_view right) const {
  return std::lexicographical_compare(left.begin(), left.end(), right.begin(), right.end(),
                                      [](wchar_t a, wchar_t b) { return Fold(a) < Fold(b); });
}

}  // namespace Lab
