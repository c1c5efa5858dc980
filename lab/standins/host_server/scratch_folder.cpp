#include "standins/host_server/scratch_folder.h"

#include <stdlib.h>

#include <fstream>
#include <iterator>
#include <stdexcept>
#include <system_error>

namespace Lab {

ScratchFolder::ScratchFolder(const std::string& name) {
  std::string path = (std::filesystem::temp_directory_path() / (name + "-XXXXXX")).string();
  if (mkdtemp(path.data()) == nullptr) throw std::runtime_error(path + ": can't be made");
  path_ = path;
}

ScratchFolder::~ScratchFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

void ScratchFolder::Write(const std::string& file, const std::string& text) const {
  std::ofstream(path_ / file, std::ios::binary) << text;
}

std::string ScratchFolder::Read(const std::string& file) const {
  std::ifstream in(path_ / file, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

}  // namespace Lab
