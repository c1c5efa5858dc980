#include "krova/protocol/json/number_text.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <system_error>

namespace Krova::Protocol::Json {
namespace {

std::string_view NonFiniteText(double value) {
  if (std::isnan(value)) return std::signbit(value) ? "-NAN" : "NAN";
  return value < 0 ? "-INF" : "INF";
}

/// Moves what follows the "e" at \p exponent behind \p fractionEnd, without "+" and leading zeros.
/// \return The end of the text.
char* MoveExponent(const char* exponent, const char* end, char* fractionEnd) {
  char* to = fractionEnd;
  *to++ = 'E';
  ++exponent;
  if (*exponent == '-') *to++ = '-';
  ++exponent;
  while (end - exponent > 1 && *exponent == '0') ++exponent;
  return std::copy(exponent, end, to);
}

/// Decimal exponent, at most one off, of a number that isn't zero: tells one that is too small for
/// a double from one that is too large.
std::int64_t Magnitude(std::string_view text) {
  constexpr std::int64_t kBeyond = 1'000'000'000'000;
  const std::size_t mark = std::min(text.find_first_of("eE"), text.size());
  const std::string_view digits = text.substr(0, mark);
  const std::size_t point = std::min(digits.find('.'), digits.size());
  const std::size_t first = digits.find_first_of("123456789");
  const std::int64_t place = static_cast<std::int64_t>(point) - static_cast<std::int64_t>(first);
  if (mark == text.size()) return place;
  std::string_view exponent = text.substr(mark + 1);
  if (exponent.front() == '+') exponent.remove_prefix(1);
  return place + std::clamp(ParseInteger(exponent), -kBeyond, kBeyond);
}

}  // namespace

char* FormatDouble(double value, char* to) {
  if (!std::isfinite(value)) {
    const std::string_view word = NonFiniteText(value);
    return std::copy(word.begin(), word.end(), to);
  }
  char* const end =
      std::to_chars(to, to + kNumberSize, value, std::chars_format::scientific, 15).ptr;
  // The exponent has a sign and at least two digits.
  char* exponent = end - 4;
  while (*exponent != 'e') --exponent;
  char* fractionEnd = exponent;
  while (fractionEnd[-1] == '0' && fractionEnd[-2] != '.') --fractionEnd;
  return MoveExponent(exponent, end, fractionEnd);
}

char* FormatInteger(std::int64_t value, char* to) {
  return std::to_chars(to, to + kNumberSize, value).ptr;
}

bool IsIntegerText(std::string_view text) {
  return std::none_of(text.begin(), text.end(),
                      [](char c) { return c == '.' || c == 'e' || c == 'E'; });
}

std::int64_t ParseInteger(std::string_view text) {
  std::int64_t value = 0;
  const auto parsed = std::from_chars(text.data(), text.data() + text.size(), value);
  if (parsed.ec == std::errc()) return value;
  return text.front() == '-' ? std::numeric_limits<std::int64_t>::min()
                             : std::numeric_limits<std::int64_t>::max();
}

double ParseDouble(std::string_view text) {
  double value = 0;
  const auto parsed = std::from_chars(text.data(), text.data() + text.size(), value);
  if (parsed.ec == std::errc()) return value;
  const double nearest = Magnitude(text) > 0 ? std::numeric_limits<double>::max() : 0.0;
  return text.front() == '-' ? -nearest : nearest;
}

}  // namespace Krova::Protocol::Json
