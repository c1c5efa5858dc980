// How functions of the Windows API fail: an error for the thread, and a result that tells of it.
#pragma once

#include <cstddef>

#include "windows.h"

namespace Lab {

/// Sets the thread's last error. \return FALSE, which is also the 0 of functions that count.
inline BOOL Fail(DWORD error) {
  SetLastError(error);
  return FALSE;
}

/// The same for functions whose only fault is the given error. \return TRUE without one.
inline BOOL Answer(DWORD error) { return error == ERROR_SUCCESS ? TRUE : Fail(error); }

/// The same for functions that hand out an object, a module or an address.
inline std::nullptr_t FailWithNull(DWORD error) {
  SetLastError(error);
  return nullptr;
}

/// The same for functions that open a file or a search.
inline HANDLE FailToOpen(DWORD error) {
  SetLastError(error);
  return INVALID_HANDLE_VALUE;
}

}  // namespace Lab
