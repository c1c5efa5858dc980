#include <string>
#include <string_view>

#include "api/failure.h"
#include "machine/call.h"
#include "machine/machine.h"
#include "machine/variables.h"
#include "processenv.h"
#include "userenv.h"
#include "winerror.h"

DWORD WINAPI GetEnvironmentVariableW(LPCWSTR name, LPWSTR buffer, DWORD bufferLength) {
  LAB_SUPPORTS(name != nullptr);
  const Lab::Call call("GetEnvironmentVariableW", name);
  if (call.FailsByPlan()) return 0;
  LAB_SUPPORTS(buffer != nullptr || bufferLength == 0);
  const Lab::Variables& variables = Lab::TheMachine().Describe().processVariables;
  const auto variable = variables.find(std::wstring_view(name));
  if (variable == variables.end()) return Lab::Fail(ERROR_ENVVAR_NOT_FOUND);
  const std::wstring& value = variable->second;
  if (bufferLength <= value.size()) return static_cast<DWORD>(value.size() + 1);
  value.copy(buffer, value.size());
  buffer[value.size()] = L'\0';
  return static_cast<DWORD>(value.size());
}

BOOL WINAPI ExpandEnvironmentStringsForUserW(HANDLE token, LPCWSTR source, LPWSTR target,
                                             DWORD targetLength) {
  LAB_SUPPORTS(source != nullptr && target != nullptr);
  const Lab::Call call("ExpandEnvironmentStringsForUserW", source);
  if (call.FailsByPlan()) return FALSE;
  // Without a token only the variables of the system are known.
  LAB_SUPPORTS(token == nullptr);
  const std::wstring text =
      Lab::ExpandVariables(source, Lab::TheMachine().Describe().systemVariables);
  if (text.size() >= targetLength) return Lab::Fail(ERROR_INSUFFICIENT_BUFFER);
  text.copy(target, text.size());
  target[text.size()] = L'\0';
  return TRUE;
}
