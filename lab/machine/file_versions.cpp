#include "machine/file_versions.h"

#include <cstdio>
#include <stdexcept>

namespace Lab {

FileVersions ReadFileVersions(const Json::Value& versions) {
  constexpr unsigned kMost = 65535;
  FileVersions read;
  for (const std::string& path : versions.getMemberNames()) {
    const std::string text = versions[path].asString();
    FileVersion& version = read[ToWide(path)];
    if (text == "damaged") continue;
    std::array<unsigned, 4> parts{};
    std::sscanf(text.c_str(), "%u.%u.%u.%u", &parts[0], &parts[1], &parts[2], &parts[3]);
    version.emplace();
    for (std::size_t i = 0; i < parts.size(); ++i) {
      if (parts[i] > kMost) {
        throw std::invalid_argument("/fileVersions/" + path + ": expected numbers up to 65535");
      }
      (*version)[i] = static_cast<std::uint16_t>(parts[i]);
    }
  }
  return read;
}

}  // namespace Lab
