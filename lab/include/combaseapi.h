// Objects that the system makes, and memory that it hands out to its callers.
#pragma once

#include <unknwn.h>

#define CLSCTX_INPROC_SERVER 0x1u

HRESULT WINAPI CoCreateInstance(REFCLSID classId, IUnknown* outer, DWORD context, REFIID id,
                                LPVOID* object);
void WINAPI CoTaskMemFree(LPVOID memory);
