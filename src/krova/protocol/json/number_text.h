// Numbers as the wire writes and reads them, in every locale alike.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace Krova::Protocol::Json {

/// Room for any number's text.
inline constexpr std::size_t kNumberSize = 32;

/// Sixteen significant digits, as "%.15E" prints them, then shortened: trailing zeros of the
/// fraction go (one digit stays), and so do a "+" and leading zeros of the exponent. 1.0 is
/// "1.0E0", 1500.0 is "1.5E3", 1e-10 is "1.0E-10". Infinities and not-a-number, for which JSON has
/// no text, give "INF", "-INF" and "NAN" or "-NAN".
/// \param to  Has kNumberSize bytes of room.
/// \return The end of the text.
char* FormatDouble(double value, char* to);

/// Signed decimal. Parameters and result as above.
char* FormatInteger(std::int64_t value, char* to);

/// Whether the JSON number \p text is an integer: it has neither fraction nor exponent.
bool IsIntegerText(std::string_view text);

/// \param text  A JSON integer. One beyond the range of 64 bits gives the nearest end of the range.
std::int64_t ParseInteger(std::string_view text);

/// \param text  A JSON number. One beyond the largest double gives the largest, as integers do: so
///     even that one, whose sixteen digits are rounded up, comes back. One too small gives zero.
double ParseDouble(std::string_view text);

}  // namespace Krova::Protocol::Json
