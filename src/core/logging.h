// The agent's own log: "halvard.log", written through scopes that live on the stack.
#pragma once

#include <string>
#include <type_traits>

#include "core/temp_directory.h"
#include "core/wide_format.h"

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
  /// A literal, which the arguments have to fit; their types are those of the arguments alone.
  template <typename... Arguments>
  using Format = std::type_identity_t<WideFormat<Arguments...>>;

  /// \param functionName  Empty, or a name to log on entering and on leaving the scope.
  /// \param logName       Stands in the lines' prefix; empty means "halvard".
  explicit LogScope(std::wstring functionName = {}, std::wstring logName = {});
  LogScope(const LogScope&) = delete;
  LogScope& operator=(const LogScope&) = delete;
  ~LogScope();

  template <typename... Arguments>
  void Info(Format<Arguments...> format, Arguments... arguments) {
    Write('I', format.Text(), arguments...);
  }
  template <typename... Arguments>
  void Warn(Format<Arguments...> format, Arguments... arguments) {
    Write('W', format.Text(), arguments...);
  }
  template <typename... Arguments>
  void Error(Format<Arguments...> format, Arguments... arguments) {
    Write('E', format.Text(), arguments...);
  }
  /// Goes out only if KVS_HV_DEBUG held a value when the process logged its first debug line.
  template <typename... Arguments>
  void Debug(Format<Arguments...> format, Arguments... arguments) {
    Write('D', format.Text(), arguments...);
  }

 private:
  void Write(char level, const wchar_t* format, ...);

  std::wstring functionName_;
  std::wstring logName_;
  bool counted_ = false;
};

}  // namespace Halvard
