// Shutting the machine down, and the privilege that it takes.
#include <fstream>
#include <string>

#include <json/json.h>

#include "api/failure.h"
#include "machine/call.h"
#include "machine/handles.h"
#include "machine/machine.h"
#include "machine/text.h"
#include "process/token.h"
#include "windows.h"

namespace {

using Lab::Fail;

/// The number of the privilege is the same on all systems.
constexpr DWORD kShutdownPrivilege = 19;

std::filesystem::path Record() { return Lab::TheMachine().Folder() / "shutdown.json"; }

DWORD Refusal(DWORD gracePeriod, DWORD flags) {
  if (!Lab::TheMachine().ShutdownPrivilege()) return ERROR_ACCESS_DENIED;
  const bool closesOwnPrograms = (flags & SHUTDOWN_FORCE_SELF) != 0;
  if (Lab::TheMachine().Describe().graceNeedsForceSelf && gracePeriod > 0 && !closesOwnPrograms) {
    return ERROR_INVALID_PARAMETER;
  }
  return std::filesystem::exists(Record()) ? ERROR_SHUTDOWN_IS_SCHEDULED : ERROR_SUCCESS;
}

}  // namespace

BOOL LookupPrivilegeValueW(LPCWSTR machine, LPCWSTR name, PLUID privilege) {
  const Lab::Call call("LookupPrivilegeValueW");
  if (call.FailsByPlan()) return FALSE;
  LAB_SUPPORTS(machine == nullptr && name != nullptr && privilege != nullptr);
  if (std::wstring(name) != SE_SHUTDOWN_NAME) return Fail(ERROR_NO_SUCH_PRIVILEGE);
  *privilege = LUID{kShutdownPrivilege, 0};
  return TRUE;
}

BOOL AdjustTokenPrivileges(HANDLE token, BOOL disableAll, PTOKEN_PRIVILEGES privileges,
                           DWORD /*length*/, PTOKEN_PRIVILEGES former, PDWORD needed) {
  const Lab::Call call("AdjustTokenPrivileges");
  if (call.FailsByPlan()) return FALSE;
  // The length is that of the former privileges, which nobody asks for.
  LAB_SUPPORTS(disableAll == FALSE && former == nullptr && needed == nullptr);
  LAB_SUPPORTS(privileges != nullptr && privileges->PrivilegeCount == 1);
  LAB_SUPPORTS(privileges->Privileges[0].Luid.LowPart == kShutdownPrivilege);
  LAB_SUPPORTS(privileges->Privileges[0].Attributes == SE_PRIVILEGE_ENABLED);
  if (Lab::Handles().FindAs<Lab::ProcessToken>(token) == nullptr) return Fail(ERROR_INVALID_HANDLE);
  // Only administrators hold it, and a privilege that the token lacks is no failure of the call.
  const bool held = Lab::TheMachine().Describe().UserIsAdministrator();
  if (held) Lab::TheMachine().ShutdownPrivilege() = true;
  SetLastError(held ? ERROR_SUCCESS : ERROR_NOT_ALL_ASSIGNED);
  return TRUE;
}

DWORD InitiateShutdownW(LPWSTR machine, LPWSTR message, DWORD gracePeriod, DWORD flags,
                        DWORD reason) {
  const Lab::Call call("InitiateShutdownW");
  if (call.PlannedError()) return *call.PlannedError();
  LAB_SUPPORTS(machine == nullptr && message != nullptr && reason == 0);
  LAB_SUPPORTS((flags & ~(SHUTDOWN_FORCE_OTHERS | SHUTDOWN_FORCE_SELF)) == 0);
  const DWORD refusal = Refusal(gracePeriod, flags);
  if (refusal != ERROR_SUCCESS) return refusal;
  Json::Value record;
  record["message"] = Lab::ToUtf8(message);
  record["gracePeriod"] = gracePeriod;
  record["flags"] = flags;
  std::ofstream(Record()) << record;
  return ERROR_SUCCESS;
}
