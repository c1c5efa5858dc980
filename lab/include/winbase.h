// What the system's oldest header holds of files.
#pragma once

#include <fileapi.h>

#define SYMBOLIC_LINK_FLAG_DIRECTORY 0x1u

BOOL WINAPI CopyFileW(LPCWSTR source, LPCWSTR target, BOOL failIfExists);
BOOLEAN WINAPI CreateSymbolicLinkW(LPCWSTR link, LPCWSTR target, DWORD flags);
