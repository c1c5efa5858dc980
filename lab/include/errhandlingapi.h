// Last-error value of the calling thread.
#pragma once

#include <minwindef.h>

DWORD GetLastError();
void SetLastError(DWORD error);
