// Where the machine's paths lie on the host: C:\ is the folder drive_c of the instance.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "minwindef.h"

namespace Lab {

/// What became of a Windows path.
struct FoundPath {
  /// Place on the host. Filled for the codes 0 and 2; with 2 it is where the file would be made.
  std::filesystem::path host;
  /// 0: it exists. 2: only its last part doesn't. 3: a folder on the way or the drive doesn't, or
  /// the path is empty or too long. 53: a path of another computer. 123: a character that names
  /// can't have, or a file's name with a backslash behind it.
  DWORD error = 0;
};

/// Finds a path of the open machine: absolute or relative to its current folder, with \ or /, names
/// without regard to case. Blanks and dots at the end of a name are dropped. The last part isn't
/// followed when it is a link.
FoundPath FindPath(std::wstring_view windowsPath);

/// As FindPath(), for callers that know the path to be sound.
/// \throw std::filesystem::filesystem_error for all codes but 0 and 2.
std::filesystem::path HostPath(std::wstring_view windowsPath);

/// \return The Windows path of a place below one of the machine's drives, in upper-case drive
///         letter and backslashes; empty for any other place.
std::wstring WindowsPath(const std::filesystem::path& hostPath);

/// \return The path made absolute and free of "." and "..", with single backslashes; one at the
///         end stays. Nothing is looked up.
std::wstring FullPath(std::wstring_view windowsPath);

}  // namespace Lab
