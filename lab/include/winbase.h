// What the system's oldest header holds of files and logons.
#pragma once

#include <fileapi.h>
#include <winnt.h>

#define LOGON32_PROVIDER_DEFAULT 0u
#define LOGON32_LOGON_NETWORK 3u

#define SYMBOLIC_LINK_FLAG_DIRECTORY 0x1u

BOOL WINAPI CopyFileW(LPCWSTR source, LPCWSTR target, BOOL failIfExists);
BOOLEAN WINAPI CreateSymbolicLinkW(LPCWSTR link, LPCWSTR target, DWORD flags);
BOOL WINAPI LogonUserW(LPCWSTR user, LPCWSTR domain, LPCWSTR password, DWORD logonType,
                       DWORD provider, PHANDLE token);
