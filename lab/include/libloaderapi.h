// Modules of the process, and functions that are looked up at run time.
#pragma once

#include <minwindef.h>

using FARPROC = std::intptr_t(WINAPI*)();

HMODULE WINAPI LoadLibraryW(LPCWSTR name);
BOOL WINAPI FreeLibrary(HMODULE module);
FARPROC WINAPI GetProcAddress(HMODULE module, LPCSTR name);
HMODULE WINAPI GetModuleHandleW(LPCWSTR name);
DWORD WINAPI GetModuleFileNameW(HMODULE module, LPWSTR buffer, DWORD size);
