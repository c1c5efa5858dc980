#include <unistd.h>

#include "api/failure.h"
#include "machine/call.h"
#include "machine/machine.h"
#include "processthreadsapi.h"
#include "winerror.h"

DWORD WINAPI GetCurrentProcessId() {
  const Lab::Call call("GetCurrentProcessId");
  LAB_SUPPORTS(!call.PlannedError());
  return static_cast<DWORD>(getpid());
}

BOOL WINAPI ProcessIdToSessionId(DWORD processId, DWORD* sessionId) {
  const Lab::Call call("ProcessIdToSessionId");
  if (call.FailsByPlan()) return FALSE;
  LAB_SUPPORTS(processId == static_cast<DWORD>(getpid()));
  LAB_SUPPORTS(sessionId != nullptr);
  *sessionId = Lab::TheMachine().Describe().sessionId;
  return TRUE;
}

BOOL WINAPI SetProcessShutdownParameters(DWORD level, DWORD flags) {
  const Lab::Call call("SetProcessShutdownParameters");
  if (call.FailsByPlan()) return FALSE;
  LAB_SUPPORTS(flags == 0);
  constexpr DWORD kHighestLevel = 0x4FF;
  if (level > kHighestLevel) return Lab::Fail(ERROR_INVALID_PARAMETER);
  // The level says when the process is asked at the end of the machine; the lab's has no end that
  // asks processes.
  return TRUE;
}
