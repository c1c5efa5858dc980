#include "support/zip_contents.h"

#include <cstdio>
#include <sstream>
#include <stdexcept>

namespace Halvard::Testing {
namespace {

constexpr char kReader[] =
    "import sys, zipfile\n"
    "with zipfile.ZipFile(sys.argv[1]) as archive:\n"
    "  for entry in archive.infolist():\n"
    "    print(entry.filename.encode().hex(), archive.read(entry).hex())\n";

/// Runs a command of the host's shell. \throw std::runtime_error when it fails.
std::string OutputOf(const std::string& command) {
  std::FILE* const pipe = popen((command + " 2>&1").c_str(), "r");
  if (pipe == nullptr) throw std::runtime_error("can't run " + command);
  std::string output;
  char block[4096];
  while (const std::size_t count = std::fread(block, 1, sizeof block, pipe)) {
    output.append(block, count);
  }
  if (pclose(pipe) != 0) throw std::runtime_error(command + ": " + output);
  return output;
}

std::string FromHex(const std::string& digits) {
  std::string bytes;
  for (std::size_t i = 0; i < digits.size(); i += 2) {
    bytes.push_back(static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16)));
  }
  return bytes;
}

}  // namespace

std::map<std::string, std::string> ReadZip(const std::filesystem::path& zip) {
  std::istringstream lines(
      OutputOf("/usr/bin/python3 -c '" + std::string(kReader) + "' '" + zip.string() + "'"));
  std::map<std::string, std::string> entries;
  for (std::string line; std::getline(lines, line);) {
    const std::size_t blank = line.find(' ');
    entries[FromHex(line.substr(0, blank))] = FromHex(line.substr(blank + 1));
  }
  // An empty zip isn't worth a test to unzip, and it says so by its exit code.
  if (!entries.empty()) (void)OutputOf("unzip -tqq '" + zip.string() + "'");
  return entries;
}

}  // namespace Halvard::Testing
