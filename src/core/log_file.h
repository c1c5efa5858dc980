// The one log file of the process, and the form of its lines.
#pragma once

#include <cstdint>
#include <cstdio>
#include <mutex>
#include <string>
#include <string_view>

namespace Halvard {

/// The file's name, in the temp directory.
inline constexpr wchar_t kLogFileName[] = L"halvard.log";

/// The file behind all log scopes. Opened by the first scope, closed with the last; every
/// operation is safe on any thread.
class LogFile {
 public:
  LogFile() = default;
  LogFile(const LogFile&) = delete;
  LogFile& operator=(const LogFile&) = delete;

  /// Counts one more scope, and opens the file if it isn't open.
  /// \return False when there is no folder for the file: the scope isn't counted then.
  bool Enter();

  /// Counts one scope less. The file closes with the last one.
  void Leave();

  /// Appends one line and flushes it; nothing happens while the file isn't open.
  /// \param line  UTF-8, without the line's end.
  void Write(std::string_view line);

 private:
  bool OpenIfNeeded();

  std::mutex mutex_;
  std::FILE* stream_ = nullptr;
  std::int32_t scopes_ = 0;
};

/// The process's own log file.
extern LogFile gLogFile;

/// Builds one line: time in UTC with milliseconds, log name, build number, level, message.
/// \param level    'I', 'W', 'E' or 'D'.
/// \return The line in UTF-8, without its end. Without a prefix when that can't be built, for
///         instance for want of room for the log name.
std::string FormatLogLine(const std::wstring& logName, char level, std::wstring_view message);

}  // namespace Halvard
