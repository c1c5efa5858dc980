#include "support/secret_search.h"

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <filesystem>

#include "support/file_bytes.h"
#include "support/zip_contents.h"

namespace Lab {
namespace {

namespace fs = std::filesystem;

/// The text with so many bytes for a character, lowest first.
std::string Widened(const std::string& text, std::size_t width) {
  std::string wide;
  for (const char character : text) {
    wide += character;
    wide.append(width - 1, '\0');
  }
  return wide;
}

void Search(const std::string& bytes, const std::string& place,
            const std::vector<std::string>& secrets, std::vector<std::string>& found) {
  for (const std::string& secret : secrets) {
    const auto has = [&](std::size_t width) {
      return bytes.find(Widened(secret, width)) != std::string::npos;
    };
    if (has(1) || has(2) || has(4)) found.push_back(place + " shows " + secret);
  }
}

void SearchFile(const fs::path& file, const std::vector<std::string>& secrets,
                std::vector<std::string>& found) {
  Search(FileBytes(file), file.string(), secrets, found);
  if (file.extension() != ".zip") return;
  for (const auto& [name, bytes] : Halvard::Testing::ReadZip(file)) {
    Search(name + '\n' + bytes, file.string() + "/" + name, secrets, found);
  }
}

bool IsProcessId(const std::string& name) {
  return std::ranges::all_of(name, [](unsigned char c) { return std::isdigit(c) != 0; });
}

}  // namespace

std::vector<std::string> PlacesOf(const std::vector<std::string>& secrets,
                                  const Instance& machine) {
  std::vector<std::string> found;
  // What lies beside the machine is what its programs have said to nobody.
  for (const auto& entry : fs::recursive_directory_iterator(machine.Folder().parent_path())) {
    Search(entry.path().filename().string(), entry.path().string(), secrets, found);
    const bool isDescription = entry.path() == machine.Folder() / "machine.json";
    if (!isDescription && entry.is_regular_file()) SearchFile(entry.path(), secrets, found);
  }
  return found;
}

std::vector<std::string> ProcessesThatShow(const std::vector<std::string>& secrets) {
  std::vector<std::string> found;
  for (const auto& entry : fs::directory_iterator("/proc")) {
    if (!IsProcessId(entry.path().filename().string())) continue;
    // A process that has ended meanwhile has empty files, or none.
    for (const char* file : {"cmdline", "environ"}) {
      const fs::path path = entry.path() / file;
      Search(FileBytes(path), path.string(), secrets, found);
    }
  }
  return found;
}

}  // namespace Lab
