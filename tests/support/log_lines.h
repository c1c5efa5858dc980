// The agent's log as tests see it.
#pragma once

#include <filesystem>
#include <ostream>
#include <string>
#include <vector>

namespace Halvard::Testing {

/// One line without the prefix's changing part. Equal when level and message are.
struct LogLine {
  char level;
  std::wstring message;

  friend bool operator==(const LogLine&, const LogLine&) = default;
};
void PrintTo(const LogLine& line, std::ostream* stream);

LogLine InfoLine(std::wstring message);
LogLine WarningLine(std::wstring message);
LogLine ErrorLine(std::wstring message);
LogLine DebugLine(std::wstring message);

/// \return The lines of a log file; one without the usual prefix continues the message before it.
///         None when there is no such file.
std::vector<LogLine> ReadLog(const std::filesystem::path& file);

/// \return The lines of the log of the agent's code in this process.
std::vector<LogLine> OwnLog();

}  // namespace Halvard::Testing
