// The program's own image.
#include <algorithm>

#include "machine/call.h"
#include "machine/handles.h"
#include "machine/machine.h"
#include "windows.h"

HMODULE GetModuleHandleW(LPCWSTR name) {
  const Lab::Call call("GetModuleHandleW");
  if (call.FailsByPlan()) return nullptr;
  LAB_SUPPORTS(name == nullptr);
  return Lab::ProgramModule();
}

DWORD GetModuleFileNameW(HMODULE module, LPWSTR buffer, DWORD size) {
  const Lab::Call call("GetModuleFileNameW");
  if (call.FailsByPlan()) return 0;
  LAB_SUPPORTS(module == nullptr || module == Lab::ProgramModule());
  LAB_SUPPORTS(buffer != nullptr);
  const std::wstring& path = Lab::TheMachine().Describe().programPath;
  const bool fits = path.size() < size;
  if (size > 0) {
    const std::size_t length = std::min<std::size_t>(path.size(), size - 1);
    path.copy(buffer, length);
    buffer[length] = 0;
  }
  SetLastError(fits ? ERROR_SUCCESS : ERROR_INSUFFICIENT_BUFFER);
  return fits ? static_cast<DWORD>(path.size()) : size;
}
