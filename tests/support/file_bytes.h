// Files of the host, as tests look at them.
#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace Lab {

/// \return All bytes of a file; none when it can't be read.
inline std::string FileBytes(const std::filesystem::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

}  // namespace Lab
