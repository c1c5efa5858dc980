// Versions of files, as their version resources tell them.
#pragma once

#include <cstdint>
#include <string>

namespace Halvard::Host {

struct FileVersion {
  std::uint16_t major = 0;
  std::uint16_t minor = 0;
  std::uint16_t build = 0;
  std::uint16_t revision = 0;
};

/// \param path          Full path of the file.
/// \param[out] version  Set on success only.
/// \return False when the file isn't there or tells no version. Logged here either way.
bool GetFileVersion(const std::wstring& path, FileVersion& version);

/// The same for a file in the system directory.
/// \param fileName  Without a folder.
bool GetSystemFileVersion(const std::wstring& fileName, FileVersion& version);

}  // namespace Halvard::Host
