#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Krova::Protocol::Json {

/// The bytes in the standard alphabet, padded with "=", without line breaks. Empty for no bytes.
std::string EncodeBase64(const std::vector<std::uint8_t>& bytes);

/// Decodes text in the standard alphabet. No white space is allowed, padding is required.
/// \param bytes  Receives the decoded bytes. After a fault it is empty.
/// \param fault  Receives the text of the fault, and stays as it is when there is none. The first
///               fault from the left is told, a bad length before all others.
/// \return False on a fault.
///
/// Bits that the last character carries beyond the last whole byte are not looked at, so several
/// texts may stand for the same bytes.
bool DecodeBase64(std::string_view text, std::vector<std::uint8_t>& bytes, std::string& fault);

}  // namespace Krova::Protocol::Json
