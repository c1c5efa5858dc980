// The registry. The functions answer the error code themselves and leave the last error alone.
#pragma once

#include <minwindef.h>
#include <winnt.h>

using LSTATUS = LONG;
using REGSAM = DWORD;

#define HKEY_LOCAL_MACHINE (reinterpret_cast<HKEY>(static_cast<ULONG_PTR>(0x80000002)))

#define RRF_RT_REG_SZ 0x00000002u
#define RRF_NOEXPAND 0x10000000u

LSTATUS WINAPI RegGetValueW(HKEY key, LPCWSTR subKey, LPCWSTR value, DWORD flags, LPDWORD type,
                            PVOID data, LPDWORD dataBytes);
LSTATUS WINAPI RegOpenKeyExW(HKEY key, LPCWSTR subKey, DWORD options, REGSAM access, PHKEY result);
LSTATUS WINAPI RegSetKeyValueW(HKEY key, LPCWSTR subKey, LPCWSTR value, DWORD type, LPCVOID data,
                               DWORD dataBytes);
LSTATUS WINAPI RegCloseKey(HKEY key);

#define SHUTDOWN_FORCE_OTHERS 0x00000001u
#define SHUTDOWN_FORCE_SELF 0x00000002u

/// For this machine. What it is told stays in the instance, in shutdown.json.
DWORD WINAPI InitiateShutdownW(LPWSTR machine, LPWSTR message, DWORD gracePeriod, DWORD flags,
                               DWORD reason);
