#include "core/environment.h"

#include "host/windows_api.h"

namespace Halvard {

bool EnvironmentVariableExists(const wchar_t* name) {
  // An empty value may answer 0 as well and then leaves the error code alone, so a code from an
  // earlier call must not be there to be mistaken for "not found".
  wchar_t value[1] = {};
  SetLastError(ERROR_SUCCESS);
  if (GetEnvironmentVariableW(name, value, 0) != 0) return true;
  return GetLastError() != ERROR_ENVVAR_NOT_FOUND;
}

bool EnvironmentVariableHoldsValue(const wchar_t* name) {
  // A buffer with room for the terminator alone: an empty value fits and answers 0, any other
  // answers the size that it would take.
  wchar_t value[1] = {};
  return GetEnvironmentVariableW(name, value, 1) != 0;
}

}  // namespace Halvard
