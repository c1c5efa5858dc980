#include "support/log_lines.h"

#include <fstream>
#include <regex>
#include <utility>

#include "core/temp_directory.h"
#include "core/text.h"
#include "machine/paths.h"

namespace Halvard::Testing {
namespace {

LogLine ParseLine(const std::string& line) {
  static const std::regex pattern(
      R"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3}Z\| [^|]*-14510545\| ([IWED]): ([^]*))");
  std::smatch parts;
  if (!std::regex_match(line, parts, pattern)) return {0, Utf8ToWide(line)};
  return {parts[1].str().front(), Utf8ToWide(parts[2].str())};
}

}  // namespace

void PrintTo(const LogLine& line, std::ostream* stream) {
  *stream << line.level << ": " << WideToUtf8(line.message);
}

LogLine InfoLine(std::wstring message) { return {'I', std::move(message)}; }
LogLine WarningLine(std::wstring message) { return {'W', std::move(message)}; }
LogLine ErrorLine(std::wstring message) { return {'E', std::move(message)}; }
LogLine DebugLine(std::wstring message) { return {'D', std::move(message)}; }

std::vector<LogLine> ReadLog(const std::filesystem::path& file) {
  std::vector<LogLine> lines;
  std::ifstream stream(file, std::ios::binary);
  for (std::string text; std::getline(stream, text);) {
    const LogLine line = ParseLine(text);
    // A message may hold line ends.
    if (line.level == 0 && !lines.empty()) {
      lines.back().message += L"\n" + line.message;
    } else {
      lines.push_back(line);
    }
  }
  return lines;
}

std::vector<LogLine> OwnLog() {
  return ReadLog(Lab::HostPath(GetTempDirectory() + L"halvard.log"));
}

}  // namespace Halvard::Testing
