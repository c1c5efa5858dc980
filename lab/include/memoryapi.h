// Files mapped into memory.
#pragma once

#include <minwinbase.h>

#define FILE_MAP_READ SECTION_MAP_READ

HANDLE WINAPI CreateFileMappingW(HANDLE file, LPSECURITY_ATTRIBUTES attributes, DWORD protection,
                                 DWORD sizeHigh, DWORD sizeLow, LPCWSTR name);
LPVOID WINAPI MapViewOfFile(HANDLE mapping, DWORD access, DWORD offsetHigh, DWORD offsetLow,
                            SIZE_T size);
BOOL WINAPI UnmapViewOfFile(LPCVOID view);
