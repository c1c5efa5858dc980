#include "core/logging.h"

#include <cstdarg>
#include <cstddef>
#include <string_view>
#include <utility>

#include "core/environment.h"
#include "core/log_file.h"
#include "host/windows_api.h"

namespace Halvard {
namespace {

constexpr std::size_t kMessageSize = 4096;

/// Cut to the buffer, which is left as it is beyond the text: to clear 4,096 characters takes
/// longer than most of the work. \return The formatted message in \p buffer; empty when nothing is
/// to be written.
std::wstring_view FormatMessageText(const wchar_t* format, std::va_list arguments,
                                    wchar_t (&buffer)[kMessageSize]) {
  buffer[0] = L'\0';
  const int written = _vsnwprintf_s(buffer, kMessageSize, _TRUNCATE, format, arguments);
  const std::wstring_view message = buffer;
  // A message that was cut answers -1 with the buffer full; every other result of zero or less is
  // a message that couldn't be made.
  const bool wasCut = written < 0 && message.size() == kMessageSize - 1;
  return written > 0 || wasCut ? message : std::wstring_view();
}

void WriteMessage(const std::wstring& logName, char level, const wchar_t* format,
                  std::va_list arguments) {
  wchar_t buffer[kMessageSize];
  const std::wstring_view message = FormatMessageText(format, arguments, buffer);
  if (!message.empty()) gLogFile.Write(FormatLogLine(logName, level, message));
}

/// Asked once, at the first debug line of the process; the variable isn't looked at again.
bool DebugLinesAreOn() {
  static const bool on = EnvironmentVariableHoldsValue(L"KVS_HV_DEBUG");
  return on;
}

}  // namespace

LogScope::LogScope(std::wstring functionName, std::wstring logName) : counted_(gLogFile.Enter()) {
  if (!counted_) return;
  logName_ = logName.empty() ? L"halvard" : std::move(logName);
  functionName_ = std::move(functionName);
  if (!functionName_.empty()) Info(L"Entering function: %ws", functionName_.c_str());
}

LogScope::~LogScope() {
  if (!counted_) return;
  if (!functionName_.empty()) Info(L"Leaving function: %ws", functionName_.c_str());
  gLogFile.Leave();
}

void LogScope::Write(char level, const wchar_t* format, ...) {
  if (level == 'D' && !DebugLinesAreOn()) return;
  std::va_list arguments;
  va_start(arguments, format);
  WriteMessage(logName_, level, format, arguments);
  va_end(arguments);
}

}  // namespace Halvard
