// The program's own image and the libraries beside it.
#include <algorithm>
#include <cstring>
#include <string>

#include "api/failure.h"
#include "looked_up_functions.h"
#include "machine/call.h"
#include "machine/handles.h"
#include "machine/machine.h"
#include "machine/modules.h"
#include "windows.h"

namespace {

using Lab::FailWithNull;

}  // namespace

HMODULE WINAPI GetModuleHandleW(LPCWSTR name) {
  const Lab::Call call("GetModuleHandleW", name != nullptr ? name : L"");
  if (call.FailsByPlan()) return nullptr;
  if (name == nullptr) return Lab::ProgramModule();
  if (!Lab::Modules().Snapshot().contains(name)) return FailWithNull(ERROR_MOD_NOT_FOUND);
  return Lab::Modules().HandleOf(name);
}

HMODULE WINAPI LoadLibraryW(LPCWSTR name) {
  LAB_SUPPORTS(name != nullptr);
  const Lab::Call call("LoadLibraryW", name);
  if (call.FailsByPlan()) return nullptr;
  // There are no libraries but those that every program is bound to.
  if (!Lab::Modules().Snapshot().contains(name)) return FailWithNull(ERROR_MOD_NOT_FOUND);
  Lab::Modules().Load(name);
  return Lab::Modules().HandleOf(name);
}

BOOL WINAPI FreeLibrary(HMODULE module) {
  const Lab::Call call("FreeLibrary");
  if (call.FailsByPlan()) return FALSE;
  const std::wstring name = Lab::Modules().NameOf(module);
  if (name.empty()) return Lab::Fail(ERROR_MOD_NOT_FOUND);
  Lab::Modules().Unload(name);
  return TRUE;
}

FARPROC WINAPI GetProcAddress(HMODULE module, LPCSTR name) {
  LAB_SUPPORTS(name != nullptr);
  const Lab::Call call("GetProcAddress", std::wstring(name, name + std::strlen(name)));
  if (call.FailsByPlan()) return nullptr;
  const FARPROC function = Lab::FindFunction(Lab::Modules().NameOf(module), name);
  if (function == nullptr) SetLastError(ERROR_PROC_NOT_FOUND);
  return function;
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
