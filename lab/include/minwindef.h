// The basic types of the Windows API, as wide as on 64-bit Windows. WCHAR alone is wider: the
// host's wchar_t has 32 bits, so a size in bytes counts sizeof(WCHAR) for each character.
#pragma once

#include <cstddef>
#include <cstdint>

#include <winnt.h>

// Calling conventions say nothing on this platform.
#define WINAPI

#define FALSE 0
#define TRUE 1
#define MAX_PATH 260
#define INFINITE 0xFFFFFFFFu

using BYTE = std::uint8_t;
using UCHAR = std::uint8_t;
using WORD = std::uint16_t;
using DWORD = std::uint32_t;
using ULONG = std::uint32_t;
using ULONGLONG = std::uint64_t;
using UINT = unsigned int;
using INT = int;
using BOOL = int;
using PBOOL = BOOL*;
using LPBYTE = BYTE*;
using LPDWORD = DWORD*;
using PDWORD = DWORD*;
using PULONG = ULONG*;
using SHORT = std::int16_t;
using LPBOOL = BOOL*;
using LPVOID = void*;
using LPCVOID = const void*;
using SIZE_T = std::size_t;
using ULONG_PTR = std::uintptr_t;
using LONG_PTR = std::intptr_t;

struct HINSTANCE__;
using HINSTANCE = HINSTANCE__*;
using HMODULE = HINSTANCE;
struct HKEY__;
using HKEY = HKEY__*;
using PHKEY = HKEY*;
struct HWND__;
using HWND = HWND__*;

/// A time in steps of 100 ns since the first day of 1601, UTC.
struct FILETIME {
  DWORD dwLowDateTime;
  DWORD dwHighDateTime;
};
using LPFILETIME = FILETIME*;
