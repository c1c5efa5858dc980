#include "support/machine_processes.h"

#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace Lab {
namespace {

namespace fs = std::filesystem;

bool HasVariable(const fs::path& process, const std::string& variable) {
  std::ifstream file(process / "environ", std::ios::binary);
  const std::string all{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  return (std::string(1, '\0') + all).find('\0' + variable + '\0') != std::string::npos;
}

}  // namespace

std::vector<pid_t> ProcessesOf(const Instance& machine) {
  const std::string variable = "HALVARD_LAB=" + machine.Folder().string();
  std::vector<pid_t> found;
  for (const auto& entry : fs::directory_iterator("/proc")) {
    const std::string name = entry.path().filename().string();
    if (!std::ranges::all_of(name, [](unsigned char c) { return std::isdigit(c) != 0; })) continue;
    const pid_t process = std::stoi(name);
    if (process != getpid() && HasVariable(entry.path(), variable)) found.push_back(process);
  }
  return found;
}

}  // namespace Lab
