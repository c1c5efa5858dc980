// Conversion between the program's wide text and the UTF-8 of files, JSON and the API.
#pragma once

#include <set>
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

/// The same as a set, ordered by code units and without what comes twice.
std::set<std::wstring> SplitToSet(std::wstring_view text, wchar_t separator);

/// \return The texts in their order, with the separator between each two.
std::wstring JoinStrings(const std::vector<std::wstring>& texts, std::wstring_view separator);
std::wstring JoinSet(const std::set<std::wstring>& texts, std::wstring_view separator);

}  // namespace Halvard
