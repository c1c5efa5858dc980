// How much of a path is there already.
#pragma once

#include <string>

namespace Halvard::Security {

/// Looks for the longest beginning of a path that is a folder, from the left.
/// \param path         At most 259 characters.
/// \param[out] longest  With a backslash at its end. After a refusal because of lacking rights, the
///                      folder that can't be read.
/// \param[out] wholeExists  The path as a whole is there.
/// \return False when it can't be told: nothing of the path is there, something on the way isn't a
///         folder, or may not be looked at. Logged here.
bool LongestPathThatExists(const std::wstring& path, std::wstring& longest, bool& wholeExists);

/// \param folder  With a backslash at its end.
/// \return Its name as the system knows files by it too: without the backslash, which only the root
///         of a drive needs.
std::wstring NameOfFolder(const std::wstring& folder);

}  // namespace Halvard::Security
