// Standard streams and environment of the process.
#pragma once

#include <minwindef.h>
#include <winnt.h>

#define STD_INPUT_HANDLE (static_cast<DWORD>(-10))
#define STD_OUTPUT_HANDLE (static_cast<DWORD>(-11))
#define STD_ERROR_HANDLE (static_cast<DWORD>(-12))

HANDLE WINAPI GetStdHandle(DWORD stream);
DWORD WINAPI GetEnvironmentVariableW(LPCWSTR name, LPWSTR buffer, DWORD bufferLength);
