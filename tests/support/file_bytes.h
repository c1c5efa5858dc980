// Files of the host, as tests look at them.
#pragma once

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace Lab {

/// \return All bytes of a file; none when it can't be read, as one of a process that has just
/// ended.
inline std::string FileBytes(const std::filesystem::path& file) {
  const std::ifstream stream(file, std::ios::binary);
  std::ostringstream bytes;
  bytes << stream.rdbuf();
  return bytes.str();
}

}  // namespace Lab
