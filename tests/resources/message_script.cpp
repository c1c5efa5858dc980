#include "message_script.h"

#include <gtest/gtest.h>

#include <regex>
#include <sstream>

namespace {

std::vector<std::string> Lines(std::string_view script) {
  std::vector<std::string> lines;
  std::istringstream stream{std::string(script)};
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

/// The text between the quotes of a row, with its escapes read as the resource compiler reads them.
std::string Unescape(const std::string& quoted) {
  std::string text;
  for (std::size_t i = 0; i < quoted.size(); ++i) {
    const std::string_view pair = std::string_view(quoted).substr(i, 2);
    if (pair == "\\n") {
      text += '\n';
      ++i;
    } else if (pair == "\"\"") {
      text += '"';
      ++i;
    } else {
      EXPECT_NE(quoted[i], '\\') << "an escape that these tests don't read: " << quoted;
      text += quoted[i];
    }
  }
  return text;
}

}  // namespace

MessageTable ParseMessageScript(std::string_view script) {
  static const std::regex kRow(R"re(  (\d+) "(.*)")re");
  MessageTable table;
  bool inside = false;
  for (const std::string& line : Lines(script)) {
    if (line == "END") inside = false;
    std::smatch parts;
    if (inside && std::regex_match(line, parts, kRow)) {
      const unsigned int id = static_cast<unsigned int>(std::stoul(parts[1]));
      EXPECT_TRUE(table.emplace(id, Unescape(parts[2])).second) << "twice: " << line;
    } else if (inside) {
      ADD_FAILURE() << "no row: " << line;
    }
    if (line == "BEGIN") inside = true;
  }
  return table;
}

std::vector<MessageLanguage> ParseMessageLanguages(std::string_view script) {
  static const std::regex kLanguage(R"re(LANGUAGE 0x([0-9a-f]+), 0x([0-9a-f]+))re");
  static const std::regex kInclude(R"re(#include "(messages_\w+\.rc)")re");
  std::vector<MessageLanguage> languages;
  unsigned long id = 0;
  for (const std::string& line : Lines(script)) {
    std::smatch parts;
    if (std::regex_match(line, parts, kLanguage)) {
      id = std::stoul(parts[2], nullptr, 16) << 10 | std::stoul(parts[1], nullptr, 16);
    } else if (std::regex_match(line, parts, kInclude)) {
      languages.push_back({static_cast<std::uint16_t>(id), parts[1]});
    }
  }
  return languages;
}
