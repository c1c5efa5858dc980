// Text between the machine (wide) and the host (UTF-8), and the machine's idea of case.
#pragma once

#include <string>
#include <string_view>

namespace Lab {

/// \return The text in UTF-8. A value that is no character becomes U+FFFD.
std::string ToUtf8(std::wstring_view text);

/// \return The text that \p utf8 holds; each byte that belongs to no character becomes U+FFFD.
std::wstring ToWide(std::string_view utf8);

/// \return The text in the one case in which names are compared: of registry keys, files,
///         environment variables.
std::wstring FoldCase(std::wstring_view text);

/// \return True when the two name the same thing on a machine that ignores case.
bool EqualNoCase(std::wstring_view left, std::wstring_view right);

/// \return The text, which is empty for a null pointer.
inline std::wstring_view TextOrEmpty(const wchar_t* text) { return text == nullptr ? L"" : text; }

/// Order of names on a machine that ignores case, for maps.
struct LessNoCase {
  using is_transparent = void;
  bool operator()(std::wstring_view left, std::wstring_view right) const;
};

}  // namespace Lab
