// Paths of the machine as the host under Wine has them.
#pragma once

#include <string>

namespace Lab::Wine {

/// \param path  Any path of Windows; a relative one is one below the current folder.
/// \return Where it lies on the host, in UTF-8. What isn't there keeps the names that it has. Empty
///         on a drive that isn't there, or without Wine.
std::string HostPath(const std::wstring& path);

/// \param argument  Of a command line.
/// \return The argument for a program of the host, in UTF-8: an absolute path of the machine that
///         it begins with, or that follows its first "=", is replaced by the place on the host.
std::string HostArgument(const std::wstring& argument);

std::string ToUtf8(const std::wstring& text);
std::wstring ToWide(const std::string& utf8);

}  // namespace Lab::Wine
