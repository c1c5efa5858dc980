// UTF-16 in bytes, low byte first, as files of Windows hold it.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Lab {

/// \return The characters; a surrogate without its partner stays as it is, an odd byte at the end
///         is dropped.
std::wstring DecodeUtf16(const std::vector<std::uint8_t>& bytes);

std::vector<std::uint8_t> EncodeUtf16(std::wstring_view text);

}  // namespace Lab
