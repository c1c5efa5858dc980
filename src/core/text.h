// Conversion between the program's wide text and the UTF-8 of files, JSON and the API.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace Halvard {

/// \return \p text in UTF-8. What is no character (a lone surrogate) becomes U+FFFD.
std::string WideToUtf8(std::wstring_view text);

/// \return \p text as wide text. Bytes that aren't UTF-8 become U+FFFD.
std::wstring Utf8ToWide(std::string_view text);

/// \return The pieces between the separators, in order, without the empty ones.
std::vector<std::wstring> SplitString(std::wstring_view text, wchar_t separator);

}  // namespace Halvard
