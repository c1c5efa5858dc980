// The agent's own log: "halvard.log", written through scopes that live on the stack.
#pragma once

#include <string>

#include "core/temp_directory.h"

namespace Halvard {

/// A function's hold on the log, created at the function's start. The log file is open as long as
/// one scope lives: the first scope opens it for appending, the end of the last one closes it.
///
/// Lines go out whole, in UTF-8, from any thread. Formats are printf's as Windows reads them: %s
/// and %ws take wide strings, %hs a narrow one. A message is cut to 4,095 characters, and one line
/// feed at its end is dropped. Nothing fails visibly: without a file, lines are lost. A call may
/// change the thread's last error, so take a code into a local before it is logged.
class LogScope {
 public:
  /// \param functionName  Empty, or a name to log on entering and on leaving the scope.
  /// \param logName       Stands in the lines' prefix; empty means "halvard".
  explicit LogScope(std::wstring functionName = {}, std::wstring logName = {});
  LogScope(const LogScope&) = delete;
  LogScope& operator=(const LogScope&) = delete;
  ~LogScope();

  void Info(const wchar_t* format, ...);
  void Warn(const wchar_t* format, ...);
  void Error(const wchar_t* format, ...);
  /// Goes out only if KVS_HV_DEBUG held a value when the process logged its first debug line.
  void Debug(const wchar_t* format, ...);

 private:
  std::wstring functionName_;
  std::wstring logName_;
  bool counted_ = false;
};

}  // namespace Halvard
