// Threads that act for their own process's user. There is nobody else for whom one could.
#include <memory>

#include "api/failure.h"
#include "errhandlingapi.h"
#include "machine/call.h"
#include "process/token.h"
#include "processthreadsapi.h"
#include "securitybaseapi.h"
#include "winerror.h"

namespace {

thread_local bool tActsForSomebody = false;

/// Stands for the calling thread, whichever that is.
HANDLE PseudoHandle() { return reinterpret_cast<HANDLE>(LONG_PTR{-2}); }

}  // namespace

HANDLE WINAPI GetCurrentThread() {
  const Lab::Call call("GetCurrentThread");
  LAB_SUPPORTS(!call.PlannedError());
  return PseudoHandle();
}

BOOL WINAPI OpenThreadToken(HANDLE thread, DWORD access, BOOL openAsSelf, PHANDLE token) {
  const Lab::Call call("OpenThreadToken");
  if (call.FailsByPlan()) return FALSE;
  LAB_SUPPORTS(thread == PseudoHandle() && access == TOKEN_QUERY);
  LAB_SUPPORTS(openAsSelf != FALSE && token != nullptr);
  if (!tActsForSomebody) return Lab::Fail(ERROR_NO_TOKEN);
  *token = Lab::Handles().Add(std::make_shared<Lab::ThreadToken>());
  return TRUE;
}

BOOL WINAPI ImpersonateSelf(SECURITY_IMPERSONATION_LEVEL level) {
  const Lab::Call call("ImpersonateSelf");
  if (call.FailsByPlan()) return FALSE;
  LAB_SUPPORTS(level == SecurityImpersonation);
  tActsForSomebody = true;
  return TRUE;
}

BOOL WINAPI RevertToSelf() {
  const Lab::Call call("RevertToSelf");
  if (call.FailsByPlan()) return FALSE;
  tActsForSomebody = false;
  return TRUE;
}
