// Objects that the system makes, and memory that it hands out to its callers.
#pragma once

#include <unknwn.h>

#define CLSCTX_INPROC_SERVER 0x1u

/// Gives the calling thread COM.
/// \param kind  COINIT_* of objbase.h.
/// \return S_FALSE when it had it before, RPC_E_CHANGED_MODE when that was of another kind.
HRESULT WINAPI CoInitializeEx(LPVOID reserved, DWORD kind);
/// Undoes one successful call of CoInitialize or CoInitializeEx on the calling thread.
void WINAPI CoUninitialize();
HRESULT WINAPI CoCreateInstance(REFCLSID classId, IUnknown* outer, DWORD context, REFIID id,
                                LPVOID* object);
void WINAPI CoTaskMemFree(LPVOID memory);
