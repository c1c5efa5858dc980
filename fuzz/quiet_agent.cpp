// The agent's log and messages without a machine: lines are formatted and dropped, a message is its
// id. For targets that run code of the agent millions of times.
#include <cstdarg>

#include "core/logging.h"
#include "core/messages.h"
#include "host/windows_api.h"

namespace Halvard {

LogScope::LogScope(std::wstring, std::wstring) {}
LogScope::~LogScope() = default;

// Formatting reads all that a line is given.
void LogScope::Write(char level, const wchar_t* format, ...) {
  if (level == 'D') return;
  wchar_t buffer[256];
  va_list arguments;
  va_start(arguments, format);
  (void)_vsnwprintf_s(buffer, 256, _TRUNCATE, format, arguments);
  va_end(arguments);
}

std::wstring GetLocalizedString(unsigned int id) { return L"<" + std::to_wstring(id) + L">"; }

std::wstring GetLocalizedStringIn(unsigned int id, const std::vector<std::wstring>& /*arguments*/,
                                  const std::string& /*locale*/) {
  return GetLocalizedString(id);
}

}  // namespace Halvard
