// The process's token, and the environment that its user has by default.
#include <algorithm>
#include <memory>
#include <string>

#include "api/failure.h"
#include "machine/call.h"
#include "machine/handles.h"
#include "machine/machine.h"
#include "process/token.h"
#include "windows.h"

#include "userenv.h"

HANDLE GetCurrentProcess() {
  const Lab::Call call("GetCurrentProcess");
  LAB_SUPPORTS(!call.PlannedError());
  return INVALID_HANDLE_VALUE;
}

BOOL OpenProcessToken(HANDLE process, DWORD access, PHANDLE token) {
  const Lab::Call call("OpenProcessToken");
  if (call.FailsByPlan()) return FALSE;
  LAB_SUPPORTS(process == INVALID_HANDLE_VALUE &&
               (access == TOKEN_QUERY || access == (TOKEN_ADJUST_PRIVILEGES | TOKEN_QUERY)) &&
               token != nullptr);
  *token = Lab::Handles().Add(std::make_shared<Lab::ProcessToken>());
  return TRUE;
}

BOOL CreateEnvironmentBlock(LPVOID* environment, HANDLE token, BOOL inherit) {
  const Lab::Call call("CreateEnvironmentBlock");
  if (call.FailsByPlan()) return FALSE;
  LAB_SUPPORTS(environment != nullptr && inherit == FALSE);
  if (Lab::Handles().FindAs<Lab::ProcessToken>(token) == nullptr) {
    return Lab::Fail(ERROR_INVALID_HANDLE);
  }
  std::wstring block;
  for (const auto& [name, value] : Lab::TheMachine().Describe().userVariables) {
    block += name + L'=' + value + L'\0';
  }
  block += L'\0';
  auto* const memory = new wchar_t[block.size()];
  std::ranges::copy(block, memory);
  *environment = memory;
  return TRUE;
}

BOOL DestroyEnvironmentBlock(LPVOID environment) {
  const Lab::Call call("DestroyEnvironmentBlock");
  // A planned failure is told and no more: the memory goes all the same.
  delete[] static_cast<wchar_t*>(environment);
  return call.FailsByPlan() ? FALSE : TRUE;
}
