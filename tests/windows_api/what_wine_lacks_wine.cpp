// The Windows side of the tests of functions that Wine lacks.
#include "what_wine_lacks.h"

bool WindowsApi::HasWhatWineLacks() {
  // The function is the program's own then, and none of a library.
  HMODULE owner = nullptr;
  const auto place = reinterpret_cast<LPCWSTR>(reinterpret_cast<const void*>(&DsGetDcNameW));
  (void)GetModuleHandleExW(
      GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT, place,
      &owner);
  return owner == GetModuleHandleW(nullptr);
}

void WindowsApi::ForgetShutdown() { DeleteFileW(L"C:\\shutdown.json"); }
