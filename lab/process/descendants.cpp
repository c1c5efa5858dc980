#include "process/descendants.h"

#include <unistd.h>

#include <charconv>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>

namespace Lab {
namespace {

/// Reads the parent out of "42 (a name) S 1 ...": the name may hold anything, a bracket too.
pid_t ParentOf(const std::filesystem::path& process) {
  std::ifstream file(process / "stat");
  std::string text;
  std::getline(file, text, '\0');
  const std::size_t end = text.rfind(')');
  if (end == std::string::npos || text.size() < end + 5) return 0;
  pid_t parent = 0;
  std::from_chars(text.data() + end + 4, text.data() + text.size(), parent);
  return parent;
}

std::multimap<pid_t, pid_t> ChildrenByParent() {
  std::multimap<pid_t, pid_t> children;
  std::error_code ignored;
  for (const auto& entry : std::filesystem::directory_iterator("/proc", ignored)) {
    const std::string name = entry.path().filename().string();
    pid_t process = 0;
    const auto [end, fault] = std::from_chars(name.data(), name.data() + name.size(), process);
    if (fault != std::errc() || end != name.data() + name.size()) continue;
    children.emplace(ParentOf(entry.path()), process);
  }
  return children;
}

}  // namespace

std::vector<pid_t> Descendants() {
  const std::multimap<pid_t, pid_t> children = ChildrenByParent();
  std::vector<pid_t> found{getpid()};
  for (std::size_t next = 0; next < found.size(); ++next) {
    const auto [first, last] = children.equal_range(found[next]);
    for (auto child = first; child != last; ++child) found.push_back(child->second);
  }
  found.erase(found.begin());
  return found;
}

}  // namespace Lab
