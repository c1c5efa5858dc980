// Runs a fuzz target once over each file that is named, or that lies in a folder that is named.
// A fault ends the program the way it ends the fuzzer: by an abort or a sanitizer's report.
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

namespace fs = std::filesystem;

std::vector<fs::path> FilesAt(const fs::path& path) {
  if (!fs::is_directory(path)) return {path};
  std::vector<fs::path> files;
  for (const fs::directory_entry& entry : fs::directory_iterator(path)) {
    if (entry.is_regular_file()) files.push_back(entry.path());
  }
  return files;
}

bool RunFile(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) {
    std::cerr << "Can't read " << path << '\n';
    return false;
  }
  const std::string text((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  // A copy of exactly this size, so that a read beyond the end is seen by the address sanitizer.
  const std::vector<std::uint8_t> input(text.begin(), text.end());
  LLVMFuzzerTestOneInput(input.data(), input.size());
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  std::size_t inputs = 0;
  for (int i = 1; i < argc; ++i) {
    for (const fs::path& path : FilesAt(argv[i])) {
      if (!RunFile(path)) return 1;
      ++inputs;
    }
  }
  std::cout << inputs << " inputs run\n";
  return inputs == 0 ? 1 : 0;
}
