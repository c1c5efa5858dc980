// Handlers of the console's control events.
#include "api/failure.h"
#include "console/control_events.h"

#include "machine/call.h"
#include "windows.h"

BOOL SetConsoleCtrlHandler(PHANDLER_ROUTINE handler, BOOL add) {
  const Lab::Call call("SetConsoleCtrlHandler");
  if (call.FailsByPlan()) return FALSE;
  LAB_SUPPORTS(handler != nullptr);
  if (add != FALSE) {
    Lab::ControlEvents::Instance().Add(handler);
    return TRUE;
  }
  if (Lab::ControlEvents::Instance().Remove(handler)) return TRUE;
  return Lab::Fail(ERROR_INVALID_PARAMETER);
}
