// Functions that no header declares, or that not every system has.
#pragma once

#include "host/windows_api.h"

namespace Halvard::Host {

/// \tparam Function  The function's type, a pointer.
/// \return Null when the module has no function of the name, with the reason as the last error.
template <typename Function>
Function FindFunction(HMODULE module, const char* name) {
  // By way of the one type of function that any other may be cast to and from.
  return reinterpret_cast<Function>(reinterpret_cast<void (*)()>(GetProcAddress(module, name)));
}

}  // namespace Halvard::Host
