#include "known_agents.h"

#include <fstream>
#include <vector>

#include "failure.h"

namespace Hvctl {
namespace {

std::vector<std::string> ReadLines(const std::filesystem::path& file) {
  std::vector<std::string> lines;
  std::ifstream stream(file);
  for (std::string line; std::getline(stream, line);) {
    if (line.ends_with('\r')) line.pop_back();
    lines.push_back(line);
  }
  return lines;
}

bool IsAbout(const std::string& line, const std::string& agent) {
  return line.starts_with(agent + " ");
}

void WriteLines(const std::filesystem::path& file, const std::vector<std::string>& lines) {
  namespace fs = std::filesystem;
  std::error_code ignored;
  fs::create_directories(file.parent_path(), ignored);
  fs::path fresh = file;
  fresh += ".new";
  {
    std::ofstream stream(fresh, std::ios::trunc);
    fs::permissions(fresh, fs::perms::owner_read | fs::perms::owner_write, ignored);
    for (const std::string& line : lines) stream << line << '\n';
    stream.flush();
    if (!stream) {
      throw Failure(ExitCode::kUsage, "The list of known agents can't be written: " +
                                          file.string() + ". Pass --thumbprint instead.");
    }
  }
  fs::rename(fresh, file);
}

}  // namespace

std::optional<std::string> KnownAgents::Find(const std::string& agent) const {
  for (const std::string& line : ReadLines(file_)) {
    if (IsAbout(line, agent)) return line.substr(agent.size() + 1);
  }
  return std::nullopt;
}

void KnownAgents::Remember(const std::string& agent, const std::string& thumbprint) const {
  std::vector<std::string> lines = ReadLines(file_);
  std::erase_if(lines, [&](const std::string& line) { return IsAbout(line, agent); });
  lines.push_back(agent + " " + thumbprint);
  WriteLines(file_, lines);
}

bool KnownAgents::Forget(const std::string& agent) const {
  std::vector<std::string> lines = ReadLines(file_);
  const auto removed =
      std::erase_if(lines, [&](const std::string& line) { return IsAbout(line, agent); });
  if (removed == 0) return false;
  WriteLines(file_, lines);
  return true;
}

}  // namespace Hvctl
