// Texts and numbers as Windows' C runtime sees them in its C locale, whatever locale the host has.
#include <locale.h>
#include <algorithm>
#include <cstdint>
#include <limits>
#include <string>

#include "crt.h"
#include "machine/call.h"

namespace {

/// Letters beyond ASCII keep their kind in Windows' C locale, so a locale of the host that knows
/// them all is asked instead of the current one.
locale_t AllLetters() {
  static const locale_t locale = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
  return locale;
}

wchar_t FoldAscii(wchar_t character) {
  return character >= L'A' && character <= L'Z' ? static_cast<wchar_t>(character + 32) : character;
}

bool IsDigit(wchar_t character) { return character >= L'0' && character <= L'9'; }

const wchar_t* SkipBlanks(const wchar_t* text) {
  while (iswspace_l(static_cast<std::wint_t>(*text), AllLetters()) != 0 || *text == 0xA0) ++text;
  return text;
}

/// Takes what looks like a number from the start of the text. An exponent may be marked by d too.
std::string NumberAtStart(const wchar_t* text) {
  std::string number;
  const auto takeDigits = [&] {
    const std::size_t before = number.size();
    while (IsDigit(*text)) number += static_cast<char>(*text++);
    return number.size() > before;
  };
  if (*text == L'+' || *text == L'-') number += static_cast<char>(*text++);
  bool digits = takeDigits();
  if (*text == L'.') {
    number += static_cast<char>(*text++);
    digits = takeDigits() || digits;
  }
  if (!digits) return "0";
  if (FoldAscii(*text) != L'e' && FoldAscii(*text) != L'd') return number;
  const std::string mantissa = number;
  number += 'e';
  ++text;
  if (*text == L'+' || *text == L'-') number += static_cast<char>(*text++);
  return takeDigits() ? number : mantissa;
}

}  // namespace

errno_t wcscpy_s(wchar_t* target, std::size_t size, const wchar_t* source) {
  if (target == nullptr || size == 0) return EINVAL;
  if (source == nullptr) {
    target[0] = 0;
    return EINVAL;
  }
  const std::size_t length = std::wcslen(source);
  if (length >= size) {
    target[0] = 0;
    return ERANGE;
  }
  std::wmemcpy(target, source, length + 1);
  return 0;
}

wchar_t* _wcsdup(const wchar_t* text) {
  const Lab::Call call("_wcsdup", text);
  return call.PlannedError() ? nullptr : wcsdup(text);
}

double _wtof(const wchar_t* text) {
  // The decimal sign is a point in each locale.
  static const locale_t plain = newlocale(LC_NUMERIC_MASK, "C", nullptr);
  return strtod_l(NumberAtStart(SkipBlanks(text)).c_str(), nullptr, plain);
}

int _wtoi(const wchar_t* text) {
  constexpr std::int64_t kLargest = std::numeric_limits<int>::max();
  text = SkipBlanks(text);
  const bool negative = *text == L'-';
  if (*text == L'-' || *text == L'+') ++text;
  std::int64_t number = 0;
  for (; IsDigit(*text); ++text) {
    number = std::min<std::int64_t>(number * 10 + (*text - L'0'), kLargest + 1);
  }
  return static_cast<int>(negative ? -number : std::min(number, kLargest));
}

int _stricmp(const char* left, const char* right) {
  for (;; ++left, ++right) {
    const wchar_t a = FoldAscii(static_cast<unsigned char>(*left));
    const wchar_t b = FoldAscii(static_cast<unsigned char>(*right));
    if (a != b) return a < b ? -1 : 1;
    if (a == 0) return 0;
  }
}

int _wcsnicmp(const wchar_t* left, const wchar_t* right, std::size_t count) {
  for (; count > 0; --count, ++left, ++right) {
    const wchar_t a = FoldAscii(*left);
    const wchar_t b = FoldAscii(*right);
    if (a != b) return a < b ? -1 : 1;
    if (a == 0) return 0;
  }
  return 0;
}

int _wcsicmp(const wchar_t* left, const wchar_t* right) {
  return _wcsnicmp(left, right, std::numeric_limits<std::size_t>::max());
}

/// Takes the place of the host's own function in programs of the lab.
extern "C" int iswupper(std::wint_t character) noexcept {
  // The host counts Roman numerals and circled letters among the upper-case ones.
  if (character >= 0x2160 && character <= 0x216F) return 0;
  if (character >= 0x24B6 && character <= 0x24CF) return 0;
  return iswupper_l(character, AllLetters());
}
