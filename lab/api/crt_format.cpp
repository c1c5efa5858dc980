// printf-style formatting with the meaning that Windows' C runtime gives to conversions: %s is wide
// in a wide format, %hs and %S are narrow, %ld has 32 bits. Each line of the log comes through here
// several times, so text and whole numbers go straight into the caller's buffer.
#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <string>
#include <string_view>

#include "crt.h"
#include "machine/call.h"

namespace {

/// What stands between the percent sign and the letter.
struct Conversion {
  bool left = false;
  bool plus = false;
  bool blank = false;
  bool alternate = false;
  bool zero = false;
  int width = 0;
  int precision = -1;  // -1: none given
  enum class Size { kDefault, kShort, kWide, k64 } size = Size::kDefault;
  wchar_t type = 0;
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

/// The caller's buffer: takes what there is room for and counts all.
class Output {
 public:
  Output(wchar_t* buffer, std::size_t room) : begin_(buffer), end_(buffer), room_(room) {}

  void Append(std::wstring_view text) { end_ = std::copy_n(text.data(), Take(text.size()), end_); }

  /// In the C locale a byte is the character of the same number.
  void Append(std::string_view bytes) {
    for (const char byte : bytes.substr(0, Take(bytes.size()))) {
      *end_++ = static_cast<unsigned char>(byte);
    }
  }

  void Append(std::size_t size, wchar_t character) {
    end_ = std::fill_n(end_, Take(size), character);
  }

  /// \return The length of the whole text.
  std::size_t Size() const { return static_cast<std::size_t>(end_ - begin_) + missed_; }
  /// \return Where the part in the buffer ends.
  wchar_t* End() const { return end_; }

 private:
  /// \return For how many of \p more characters there is room.
  std::size_t Take(std::size_t more) {
    const std::size_t taken = std::min(more, room_);
    room_ -= taken;
    missed_ += more - taken;
    return taken;
  }

  wchar_t* const begin_;
  wchar_t* end_;
  std::size_t room_;
  std::size_t missed_ = 0;
};

int ReadNumber(const wchar_t*& at) {
  int number = 0;
  while (*at >= L'0' && *at <= L'9') number = number * 10 + (*at++ - L'0');
  return number;
}

/// \return False when \p flag is none.
bool SetFlag(wchar_t flag, Conversion& conversion) {
  switch (flag) {
    case L'-':
      return conversion.left = true;
    case L'+':
      return conversion.plus = true;
    case L' ':
      return conversion.blank = true;
    case L'#':
      return conversion.alternate = true;
    case L'0':
      return conversion.zero = true;
    default:
      return false;
  }
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
  conversion.left = true;
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

struct SizePrefix {
  Conversion::Size size;
  int length;
};

SizePrefix SizePrefixAt(const wchar_t* at) {
  using Size = Conversion::Size;
  switch (*at) {
    case L'h':
      // "hh" isn't known there: both letters are passed over.
      return at[1] == L'h' ? SizePrefix{Size::kDefault, 2} : SizePrefix{Size::kShort, 1};
    case L'l':
      return at[1] == L'l' ? SizePrefix{Size::k64, 2} : SizePrefix{Size::kWide, 1};
    case L'w':
      return {Size::kWide, 1};
    case L'z':
      return {Size::k64, 1};
    case L'I':
      if (at[1] == L'3' && at[2] == L'2') return {Size::kDefault, 3};
      return {Size::k64, at[1] == L'6' && at[2] == L'4' ? 3 : 1};
    default:
      return {Size::kDefault, 0};
  }
}

/// \param at  Behind the percent sign; moved behind the letter.
Conversion ReadConversion(const wchar_t*& at, Arguments& arguments) {
  Conversion conversion;
  while (SetFlag(*at, conversion)) ++at;
  ReadWidth(at, arguments, conversion);
  ReadPrecision(at, arguments, conversion);
  const SizePrefix prefix = SizePrefixAt(at);
  conversion.size = prefix.size;
  at += prefix.length;
  conversion.type = *at;
  if (*at != 0) ++at;
  return conversion;
}

/// \return What \p size lacks of \p wanted.
std::size_t Missing(std::size_t size, int wanted) {
  const auto number = static_cast<std::size_t>(std::max(wanted, 0));
  return number - std::min(number, size);
}

template <typename Text>
void AppendPadded(const Conversion& conversion, Text text, Output& output) {
  const std::size_t fill = Missing(text.size(), conversion.width);
  // Windows pads text with zeros as well if it's told to.
  if (!conversion.left) output.Append(fill, conversion.zero ? L'0' : L' ');
  output.Append(text);
  if (conversion.left) output.Append(fill, L' ');
}

/// \return True for the forms that mean narrow text in a wide format: %hs, %S, %hS, %C ...
bool IsNarrow(const Conversion& conversion) {
  if (conversion.size == Conversion::Size::kShort) return true;
  if (conversion.size == Conversion::Size::kWide) return false;
  return conversion.type == L'S' || conversion.type == L'C';
}

void FormatText(const Conversion& conversion, Arguments& arguments, Output& output) {
  // A text with a precision needn't be terminated.
  const std::size_t limit =
      conversion.precision < 0 ? SIZE_MAX : static_cast<std::size_t>(conversion.precision);
  if (IsNarrow(conversion)) {
    const char* text = arguments.Next<const char*>();
    if (text == nullptr) text = "(null)";
    AppendPadded(conversion, std::string_view(text, strnlen(text, limit)), output);
  } else {
    const wchar_t* text = arguments.Next<const wchar_t*>();
    if (text == nullptr) text = L"(null)";
    AppendPadded(conversion, std::wstring_view(text, wcsnlen(text, limit)), output);
  }
}

void FormatCharacter(const Conversion& conversion, Arguments& arguments, Output& output) {
  auto character = static_cast<wchar_t>(arguments.Next<int>());
  if (IsNarrow(conversion)) character = static_cast<unsigned char>(character);
  AppendPadded(conversion, std::wstring_view(&character, 1), output);
}

/// \param sign  What stands before all zeros: a sign, "0x".
/// \param zeros  How many the number has before its digits, whatever its width.
void AppendNumber(const Conversion& conversion, std::string_view sign, std::size_t zeros,
                  std::string_view digits, Output& output) {
  const std::size_t fill = Missing(sign.size() + zeros + digits.size(), conversion.width);
  const bool fillsWithZeros = conversion.zero && !conversion.left;
  if (!conversion.left && !fillsWithZeros) output.Append(fill, L' ');
  output.Append(sign);
  output.Append(fillsWithZeros ? zeros + fill : zeros, L'0');
  output.Append(digits);
  if (conversion.left) output.Append(fill, L' ');
}

void AppendInteger(Conversion conversion, std::string_view sign, std::uint64_t value, int base,
                   Output& output) {
  char buffer[24];  // Enough for the octal digits.
  char* end = std::to_chars(buffer, std::end(buffer), value, base).ptr;
  if (conversion.type == L'X') std::transform(buffer, end, buffer, ::toupper);
  if (conversion.precision == 0 && value == 0) end = buffer;
  const std::string_view digits(buffer, end);
  std::size_t zeros = Missing(digits.size(), conversion.precision);
  const bool wantsZero = conversion.alternate && base == 8;
  if (wantsZero && zeros == 0 && !digits.starts_with('0')) zeros = 1;
  if (conversion.precision >= 0) conversion.zero = false;
  AppendNumber(conversion, sign, zeros, digits, output);
}

std::string_view SignOf(const Conversion& conversion, bool isNegative) {
  if (isNegative) return "-";
  if (conversion.plus) return "+";
  return conversion.blank ? " " : "";
}

void FormatSigned(const Conversion& conversion, Arguments& arguments, Output& output) {
  std::int64_t value = 0;
  if (conversion.size == Conversion::Size::k64) {
    value = arguments.Next<std::int64_t>();
  } else {
    value = arguments.Next<std::int32_t>();
    if (conversion.size == Conversion::Size::kShort) value = static_cast<std::int16_t>(value);
  }
  const auto bits = static_cast<std::uint64_t>(value);
  AppendInteger(conversion, SignOf(conversion, value < 0), value < 0 ? 0 - bits : bits, 10, output);
}

void FormatUnsigned(const Conversion& conversion, int base, Arguments& arguments, Output& output) {
  std::uint64_t value = 0;
  if (conversion.size == Conversion::Size::k64) {
    value = arguments.Next<std::uint64_t>();
  } else {
    value = arguments.Next<std::uint32_t>();
    if (conversion.size == Conversion::Size::kShort) value = static_cast<std::uint16_t>(value);
  }
  std::string_view sign;
  if (conversion.alternate && base == 16 && value != 0) {
    sign = conversion.type == L'X' ? "0X" : "0x";
  }
  AppendInteger(conversion, sign, value, base, output);
}

void FormatPointer(Conversion conversion, Arguments& arguments, Output& output) {
  conversion.size = Conversion::Size::k64;
  conversion.type = L'X';
  conversion.precision = 16;
  FormatUnsigned(conversion, 16, arguments, output);
}

/// Infinite values look like "1.#INF00" there: a number whose digits are letters.
void FormatNonFinite(const Conversion& conversion, double value, Output& output) {
  std::string text = std::isnan(value) ? "1.#IND" : "1.#INF";
  const int digits = conversion.precision < 0 ? 6 : conversion.precision;
  if (digits > 4) text.append(static_cast<std::size_t>(digits - 4), '0');
  if (std::signbit(value)) {
    text.insert(0, 1, '-');
  } else if (conversion.plus) {
    text.insert(0, 1, '+');
  }
  AppendPadded(conversion, std::string_view(text), output);
}

void FormatDouble(const Conversion& conversion, Arguments& arguments, Output& output) {
  const auto value = arguments.Next<double>();
  if (!std::isfinite(value)) {
    FormatNonFinite(conversion, value, output);
    return;
  }
  const char* const format = conversion.alternate ? "%#.*f" : "%.*f";
  const int precision = conversion.precision < 0 ? 6 : conversion.precision;
  const int size = std::snprintf(nullptr, 0, format, precision, std::fabs(value));
  std::string digits(static_cast<std::size_t>(size), '\0');
  (void)std::snprintf(digits.data(), digits.size() + 1, format, precision, std::fabs(value));
  AppendNumber(conversion, SignOf(conversion, std::signbit(value)), 0, digits, output);
}

/// \return False for a conversion that Windows doesn't know.
bool FormatOne(const Conversion& conversion, Arguments& arguments, Output& output) {
  switch (conversion.type) {
    case L's':
    case L'S':
      FormatText(conversion, arguments, output);
      return true;
    case L'c':
    case L'C':
      FormatCharacter(conversion, arguments, output);
      return true;
    case L'd':
    case L'i':
      FormatSigned(conversion, arguments, output);
      return true;
    case L'u':
      FormatUnsigned(conversion, 10, arguments, output);
      return true;
    case L'x':
    case L'X':
      FormatUnsigned(conversion, 16, arguments, output);
      return true;
    case L'o':
      FormatUnsigned(conversion, 8, arguments, output);
      return true;
    case L'p':
      FormatPointer(conversion, arguments, output);
      return true;
    case L'f':
      FormatDouble(conversion, arguments, output);
      return true;
    default:
      return false;
  }
}

/// \return False when the text ends at a conversion that isn't known.
bool Format(const wchar_t* at, Arguments& arguments, Output& output) {
  while (true) {
    const wchar_t* const percent = wcschrnul(at, L'%');
    output.Append(std::wstring_view(at, percent));
    if (*percent == 0) return true;
    at = percent + 1;
    if (*at == L'%') {
      output.Append(1, *at++);
      continue;
    }
    const Conversion conversion = ReadConversion(at, arguments);
    if (!FormatOne(conversion, arguments, output)) return false;
  }
}

}  // namespace

int _vsnwprintf_s(wchar_t* buffer, std::size_t size, std::size_t count, const wchar_t* format,
                  va_list arguments) {
  LAB_SUPPORTS(buffer != nullptr && size > 0 && format != nullptr);
  const int savedErrno = errno;
  const std::size_t room = std::min(count, size - 1);
  Output output(buffer, room);
  Arguments list(arguments);
  const bool known = Format(format, list, output);
  errno = known ? savedErrno : EINVAL;

  *output.End() = 0;
  if (output.Size() <= room) return known ? static_cast<int>(output.Size()) : -1;
  if (count != _TRUNCATE && count >= size) {
    // The caller promised that all of it fits: the buffer is emptied.
    buffer[0] = 0;
    errno = ERANGE;
  }
  return -1;
}

int _snwprintf_s(wchar_t* buffer, std::size_t size, std::size_t count, const wchar_t* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const int result = _vsnwprintf_s(buffer, size, count, format, arguments);
  va_end(arguments);
  return result;
}
