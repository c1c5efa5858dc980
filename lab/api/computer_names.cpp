#include "api/failure.h"
#include "machine/call.h"
#include "machine/machine.h"
#include "windows.h"

BOOL WINAPI GetComputerNameExW(COMPUTER_NAME_FORMAT kind, LPWSTR name, LPDWORD size) {
  const Lab::Call call("GetComputerNameExW");
  if (call.FailsByPlan()) return FALSE;
  LAB_SUPPORTS(kind == ComputerNameDnsFullyQualified && size != nullptr);
  const std::wstring& fullName = Lab::TheMachine().Describe().fullName;
  const DWORD room = *size;
  if (name == nullptr || room <= fullName.size()) {
    *size = static_cast<DWORD>(fullName.size() + 1);
    return Lab::Fail(ERROR_MORE_DATA);
  }
  fullName.copy(name, fullName.size());
  name[fullName.size()] = L'\0';
  *size = static_cast<DWORD>(fullName.size());
  return TRUE;
}
