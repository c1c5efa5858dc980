// Paths as text. Buffers are MAX_PATH characters long.
#pragma once

#include <minwindef.h>

LPWSTR WINAPI PathAddBackslashW(LPWSTR path);
BOOL WINAPI PathRemoveFileSpecW(LPWSTR path);
BOOL WINAPI PathAppendW(LPWSTR path, LPCWSTR more);
BOOL WINAPI PathFileExistsW(LPCWSTR path);
