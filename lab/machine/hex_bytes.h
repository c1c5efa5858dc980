// Bytes that a description writes as hexadecimal digits.
#pragma once

#include <string>

namespace Lab {

/// \param text  Pairs of hexadecimal digits; colons between them don't count.
std::string HexBytes(const std::string& text);

}  // namespace Lab
