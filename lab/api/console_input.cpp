// The console's input and its modes.
#include "console/console_input.h"

#include <unistd.h>

#include "api/failure.h"
#include "console/standard_stream.h"
#include "machine/call.h"
#include "windows.h"

namespace {

using Lab::Answer;

constexpr DWORD kModes = ENABLE_PROCESSED_INPUT | ENABLE_LINE_INPUT | ENABLE_ECHO_INPUT;

bool IsInput(const Lab::StandardStream& console) { return console.Descriptor() == STDIN_FILENO; }

}  // namespace

HANDLE GetStdHandle(DWORD stream) {
  const Lab::Call call("GetStdHandle");
  if (call.FailsByPlan()) return INVALID_HANDLE_VALUE;
  static const HANDLE handles[] = {
      Lab::Handles().Add(std::make_shared<Lab::StandardStream>(STDIN_FILENO)),
      Lab::Handles().Add(std::make_shared<Lab::StandardStream>(STDOUT_FILENO)),
      Lab::Handles().Add(std::make_shared<Lab::StandardStream>(STDERR_FILENO))};
  switch (stream) {
    case STD_INPUT_HANDLE:
      return handles[0];
    case STD_OUTPUT_HANDLE:
      return handles[1];
    case STD_ERROR_HANDLE:
      return handles[2];
    default:
      return Lab::FailToOpen(ERROR_INVALID_HANDLE);
  }
}

BOOL GetConsoleMode(HANDLE console, LPDWORD mode) {
  const Lab::Call call("GetConsoleMode");
  if (call.FailsByPlan()) return FALSE;
  LAB_SUPPORTS(mode != nullptr);
  const auto stream = Lab::FindConsole(console);
  if (stream == nullptr) return Answer(ERROR_INVALID_HANDLE);
  LAB_SUPPORTS(IsInput(*stream));
  *mode = Lab::ConsoleInput::Instance().Mode();
  return TRUE;
}

BOOL SetConsoleMode(HANDLE console, DWORD mode) {
  const Lab::Call call("SetConsoleMode");
  if (call.FailsByPlan()) return FALSE;
  const auto stream = Lab::FindConsole(console);
  if (stream == nullptr) return Answer(ERROR_INVALID_HANDLE);
  LAB_SUPPORTS(IsInput(*stream) && (mode & ~kModes) == 0);
  return Answer(Lab::ConsoleInput::Instance().SetMode(mode));
}

BOOL ReadConsoleW(HANDLE console, LPVOID buffer, DWORD size, LPDWORD count, LPVOID control) {
  const Lab::Call call("ReadConsoleW");
  LAB_SUPPORTS(buffer != nullptr && count != nullptr && control == nullptr);
  *count = 0;
  if (call.FailsByPlan()) return FALSE;
  const auto stream = Lab::FindConsole(console);
  if (stream == nullptr || !IsInput(*stream)) return Answer(ERROR_INVALID_HANDLE);
  const Lab::ConsoleInput::ReadResult result =
      Lab::ConsoleInput::Instance().Read(static_cast<wchar_t*>(buffer), size);
  *count = result.count;
  // An interrupted read is a success that says so in the last error.
  if (result.error != ERROR_SUCCESS) SetLastError(result.error);
  return result.ok ? TRUE : FALSE;
}
