// COM on a thread.
#pragma once

#include <combaseapi.h>

enum COINIT { COINIT_MULTITHREADED = 0, COINIT_APARTMENTTHREADED = 2, COINIT_DISABLE_OLE1DDE = 4 };

HRESULT WINAPI CoInitialize(LPVOID reserved);
