// COM on a thread.
#pragma once

#include <combaseapi.h>

HRESULT WINAPI CoInitialize(LPVOID reserved);
