// The console's window and screen buffer.
#include <unistd.h>

#include "api/failure.h"
#include "console/screen.h"
#include "console/standard_stream.h"
#include "machine/call.h"
#include "windows.h"

namespace {

using Lab::Fail;

}  // namespace

BOOL SetConsoleScreenBufferSize(HANDLE output, COORD size) {
  const Lab::Call call("SetConsoleScreenBufferSize");
  if (call.FailsByPlan()) return FALSE;
  if (Lab::FindConsole(output) == nullptr) return Fail(ERROR_INVALID_HANDLE);
  return Lab::Screen::Instance().SetBufferSize(size) ? TRUE : Fail(ERROR_INVALID_PARAMETER);
}

BOOL SetConsoleWindowInfo(HANDLE output, BOOL absolute, const SMALL_RECT* window) {
  const Lab::Call call("SetConsoleWindowInfo");
  if (call.FailsByPlan()) return FALSE;
  LAB_SUPPORTS(absolute != FALSE && window != nullptr);
  if (Lab::FindConsole(output) == nullptr) return Fail(ERROR_INVALID_HANDLE);
  return Lab::Screen::Instance().SetWindow(*window) ? TRUE : Fail(ERROR_INVALID_PARAMETER);
}

HWND GetConsoleWindow() {
  const Lab::Call call("GetConsoleWindow");
  if (call.FailsByPlan()) return nullptr;
  const bool hasConsole =
      isatty(STDIN_FILENO) != 0 || isatty(STDOUT_FILENO) != 0 || isatty(STDERR_FILENO) != 0;
  constexpr ULONG_PTR kWindow = 0x10010;
  return hasConsole ? reinterpret_cast<HWND>(kWindow) : nullptr;
}

BOOL SetWindowPos(HWND window, HWND after, int x, int y, int width, int height, UINT flags) {
  const Lab::Call call("SetWindowPos");
  if (call.FailsByPlan()) return FALSE;
  if (window == nullptr) return Fail(ERROR_INVALID_WINDOW_HANDLE);
  // The terminal's place on the screen is its owner's. The corner is the one place it can be asked
  // to take without a lie: nobody can see the difference.
  LAB_SUPPORTS(after == HWND_NOTOPMOST && flags == SWP_NOSIZE && x == 0 && y == 0);
  LAB_SUPPORTS(width == 0 && height == 0);
  return TRUE;
}
