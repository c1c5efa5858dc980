// Memory that the system hands out to its callers.
#pragma once

#include <guiddef.h>

void WINAPI CoTaskMemFree(LPVOID memory);
