// Functions of Wine whose imports are replaced here.
#pragma once

#include <windows.h>

namespace Supplied {

/// \return The function that Wine has under this name, in a module that the program is linked with.
template <typename Function>
Function WinesOwn(const wchar_t* module, const char* name) {
  const FARPROC found = GetProcAddress(GetModuleHandleW(module), name);
  return reinterpret_cast<Function>(reinterpret_cast<void*>(found));
}

}  // namespace Supplied
