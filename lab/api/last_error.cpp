#include "errhandlingapi.h"

namespace {
thread_local DWORD gLastError = 0;
}

DWORD GetLastError() { return gLastError; }

void SetLastError(DWORD error) { gLastError = error; }
