// printf-style formatting with the meaning that Windows' C runtime gives to conversions: %s is wide
// in a wide format, %hs and %S are narrow, %ld has 32 bits.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "crt.h"
#include "machine/call.h"

namespace {

/// What stands between the percent sign and the letter.
struct Conversion {
  std::string flags;  // of "-+ #0"
  int width = 0;
  int precision = -1;  // -1: none given
  enum class Size { kDefault, kShort, kWide, k64 } size = Size::kDefault;
  wchar_t type = 0;

  bool Has(char flag) const { return flags.find(flag) != std::string::npos; }
};

/// The arguments, so that helpers can go on where another stopped.
class Arguments {
 public:
  explicit Arguments(va_list list) { va_copy(list_, list); }
  Arguments(const Arguments&) = delete;
  Arguments& operator=(const Arguments&) = delete;
  ~Arguments() { va_end(list_); }

  template <typename T>
  T Next() {
    return va_arg(list_, T);
  }

 private:
  va_list list_;
};

int ReadNumber(const wchar_t*& at) {
  int number = 0;
  while (*at >= L'0' && *at <= L'9') number = number * 10 + (*at++ - L'0');
  return number;
}

void ReadWidth(const wchar_t*& at, Arguments& arguments, Conversion& conversion) {
  if (*at != L'*') {
    conversion.width = ReadNumber(at);
    return;
  }
  ++at;
  conversion.width = arguments.Next<int>();
  if (conversion.width >= 0) return;
  conversion.width = -conversion.width;
  conversion.flags += '-';
}

void ReadPrecision(const wchar_t*& at, Arguments& arguments, Conversion& conversion) {
  if (*at != L'.') return;
  ++at;
  if (*at != L'*') {
    conversion.precision = ReadNumber(at);
    return;
  }
  ++at;
  // A negative one counts as none.
  conversion.precision = std::max(arguments.Next<int>(), -1);
}

bool StartsWith(const wchar_t* text, const wchar_t* start) {
  return std::wcsncmp(text, start, std::wcslen(start)) == 0;
}

void ReadSize(const wchar_t*& at, Conversion& conversion) {
  struct Prefix {
    const wchar_t* text;
    Conversion::Size size;
  };
  // The longer ones first. "hh" isn't known there: both letters are passed over.
  static constexpr Prefix kPrefixes[] = {
      {L"I64", Conversion::Size::k64},  {L"I32", Conversion::Size::kDefault},
      {L"ll", Conversion::Size::k64},   {L"hh", Conversion::Size::kDefault},
      {L"h", Conversion::Size::kShort}, {L"l", Conversion::Size::kWide},
      {L"w", Conversion::Size::kWide},  {L"z", Conversion::Size::k64},
      {L"I", Conversion::Size::k64},
  };
  for (const Prefix& prefix : kPrefixes) {
    if (!StartsWith(at, prefix.text)) continue;
    at += std::wcslen(prefix.text);
    conversion.size = prefix.size;
    return;
  }
}

/// \param at  Behind the percent sign; moved behind the letter.
Conversion ReadConversion(const wchar_t*& at, Arguments& arguments) {
  Conversion conversion;
  while (*at != 0 && std::wcschr(L"-+ #0", *at) != nullptr) {
    conversion.flags += static_cast<char>(*at++);
  }
  ReadWidth(at, arguments, conversion);
  ReadPrecision(at, arguments, conversion);
  ReadSize(at, conversion);
  conversion.type = *at;
  if (*at != 0) ++at;
  return conversion;
}

std::wstring Padded(const Conversion& conversion, std::wstring text) {
  const auto width = static_cast<std::size_t>(conversion.width);
  if (text.size() >= width) return text;
  if (conversion.Has('-')) return text.append(width - text.size(), L' ');
  // Windows pads text with zeros as well if it's told to.
  return text.insert(0, width - text.size(), conversion.Has('0') ? L'0' : L' ');
}

/// In the C locale a byte is the character of the same number.
std::wstring Widened(const char* text, std::size_t size) {
  std::wstring wide;
  for (std::size_t i = 0; i < size; ++i) wide += static_cast<unsigned char>(text[i]);
  return wide;
}

std::size_t Limit(const Conversion& conversion) {
  return conversion.precision < 0 ? SIZE_MAX : static_cast<std::size_t>(conversion.precision);
}

/// \return True for the forms that mean narrow text in a wide format: %hs, %S, %hS, %C ...
bool IsNarrow(const Conversion& conversion) {
  if (conversion.size == Conversion::Size::kShort) return true;
  if (conversion.size == Conversion::Size::kWide) return false;
  return conversion.type == L'S' || conversion.type == L'C';
}

std::wstring FormatText(const Conversion& conversion, Arguments& arguments) {
  const std::size_t limit = Limit(conversion);
  std::wstring text = L"(null)";
  if (IsNarrow(conversion)) {
    const char* narrow = arguments.Next<const char*>();
    // A text with a precision needn't be terminated.
    if (narrow != nullptr) text = Widened(narrow, strnlen(narrow, limit));
  } else {
    const wchar_t* wide = arguments.Next<const wchar_t*>();
    if (wide != nullptr) text.assign(wide, wcsnlen(wide, limit));
  }
  if (text.size() > limit) text.resize(limit);
  return Padded(conversion, std::move(text));
}

std::wstring FormatCharacter(const Conversion& conversion, Arguments& arguments) {
  const int character = arguments.Next<int>();
  if (!IsNarrow(conversion)) return Padded(conversion, {static_cast<wchar_t>(character)});
  return Padded(conversion, {static_cast<wchar_t>(static_cast<unsigned char>(character))});
}

std::int64_t NextSigned(const Conversion& conversion, Arguments& arguments) {
  if (conversion.size == Conversion::Size::k64) return arguments.Next<std::int64_t>();
  const auto value = arguments.Next<std::int32_t>();
  return conversion.size == Conversion::Size::kShort ? static_cast<std::int16_t>(value) : value;
}

std::uint64_t NextUnsigned(const Conversion& conversion, Arguments& arguments) {
  if (conversion.size == Conversion::Size::k64) return arguments.Next<std::uint64_t>();
  const auto value = arguments.Next<std::uint32_t>();
  return conversion.size == Conversion::Size::kShort ? static_cast<std::uint16_t>(value) : value;
}

/// Formats one number by the host's own conversion of the same letter.
template <typename T>
std::wstring FormatByHost(const Conversion& conversion, const char* size, T value) {
  std::string format = "%" + conversion.flags + std::to_string(conversion.width);
  // A width of 0 would read as a flag.
  if (conversion.width == 0) format.pop_back();
  if (conversion.precision >= 0) format += "." + std::to_string(conversion.precision);
  format += size;
  format += static_cast<char>(conversion.type);
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
  std::vector<char> text(
      static_cast<std::size_t>(std::snprintf(nullptr, 0, format.c_str(), value) + 1));
  std::snprintf(text.data(), text.size(), format.c_str(), value);
#pragma GCC diagnostic pop
  return Widened(text.data(), text.size() - 1);
}

std::wstring FormatPointer(Conversion conversion, Arguments& arguments) {
  conversion.type = L'X';
  conversion.precision = 16;
  return FormatByHost(conversion, "ll", arguments.Next<unsigned long long>());
}

/// Infinite values look like "1.#INF00" there: a number whose digits are letters.
std::wstring FormatNonFinite(const Conversion& conversion, double value) {
  std::wstring text = std::isnan(value) ? L"1.#IND" : L"1.#INF";
  const int digits = conversion.precision < 0 ? 6 : conversion.precision;
  if (digits > 4) text.append(static_cast<std::size_t>(digits - 4), L'0');
  if (std::signbit(value)) {
    text.insert(0, 1, L'-');
  } else if (conversion.Has('+')) {
    text.insert(0, 1, L'+');
  }
  return Padded(conversion, std::move(text));
}

std::wstring FormatDouble(const Conversion& conversion, Arguments& arguments) {
  const auto value = arguments.Next<double>();
  if (!std::isfinite(value)) return FormatNonFinite(conversion, value);
  return FormatByHost(conversion, "", value);
}

/// \return False for a conversion that Windows doesn't know.
bool FormatOne(const Conversion& conversion, Arguments& arguments, std::wstring& text) {
  switch (conversion.type) {
    case L's':
    case L'S':
      text += FormatText(conversion, arguments);
      return true;
    case L'c':
    case L'C':
      text += FormatCharacter(conversion, arguments);
      return true;
    case L'd':
    case L'i':
      text +=
          FormatByHost(conversion, "ll", static_cast<long long>(NextSigned(conversion, arguments)));
      return true;
    case L'u':
    case L'x':
    case L'X':
    case L'o':
      text += FormatByHost(conversion, "ll",
                           static_cast<unsigned long long>(NextUnsigned(conversion, arguments)));
      return true;
    case L'p':
      text += FormatPointer(conversion, arguments);
      return true;
    case L'f':
      text += FormatDouble(conversion, arguments);
      return true;
    default:
      return false;
  }
}

/// \return False when the text ends at a conversion that isn't known.
bool Format(const wchar_t* at, Arguments& arguments, std::wstring& text) {
  while (*at != 0) {
    if (*at != L'%') {
      text += *at++;
      continue;
    }
    ++at;
    if (*at == L'%') {
      text += *at++;
      continue;
    }
    const Conversion conversion = ReadConversion(at, arguments);
    if (!FormatOne(conversion, arguments, text)) return false;
  }
  return true;
}

void Store(const std::wstring& text, std::size_t length, wchar_t* buffer) {
  std::wmemcpy(buffer, text.data(), length);
  buffer[length] = 0;
}

}  // namespace

int _vsnwprintf_s(wchar_t* buffer, std::size_t size, std::size_t count, const wchar_t* format,
                  va_list arguments) {
  LAB_SUPPORTS(buffer != nullptr && size > 0 && format != nullptr);
  const int savedErrno = errno;
  std::wstring text;
  Arguments list(arguments);
  const bool known = Format(format, list, text);
  errno = known ? savedErrno : EINVAL;

  const bool fits = text.size() < size && text.size() <= count;
  if (fits) {
    Store(text, text.size(), buffer);
    return known ? static_cast<int>(text.size()) : -1;
  }
  if (count != _TRUNCATE && count >= size) {
    // The caller promised that all of it fits: the buffer is emptied.
    buffer[0] = 0;
    errno = ERANGE;
    return -1;
  }
  Store(text, std::min(count, size - 1), buffer);
  return -1;
}

int _snwprintf_s(wchar_t* buffer, std::size_t size, std::size_t count, const wchar_t* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const int result = _vsnwprintf_s(buffer, size, count, format, arguments);
  va_end(arguments);
  return result;
}
