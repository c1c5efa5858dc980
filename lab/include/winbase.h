// What the system's oldest header holds of files, processes and logons.
#pragma once

#include <cstdarg>

#include <fileapi.h>
#include <winnt.h>

#define LOGON32_PROVIDER_DEFAULT 0u
#define LOGON32_LOGON_NETWORK 3u
#define LOGON32_LOGON_SERVICE 5u

#define CREATE_SUSPENDED 0x00000004u
#define CREATE_NEW_CONSOLE 0x00000010u
#define CREATE_UNICODE_ENVIRONMENT 0x00000400u
#define CREATE_BREAKAWAY_FROM_JOB 0x01000000u
#define STARTF_USESHOWWINDOW 0x00000001u

#define STILL_ACTIVE 259u

#define FORMAT_MESSAGE_IGNORE_INSERTS 0x00000200u
#define FORMAT_MESSAGE_FROM_SYSTEM 0x00001000u

#define SYMBOLIC_LINK_FLAG_DIRECTORY 0x1u

BOOL WINAPI CopyFileW(LPCWSTR source, LPCWSTR target, BOOL failIfExists);
BOOLEAN WINAPI CreateSymbolicLinkW(LPCWSTR link, LPCWSTR target, DWORD flags);
/// Lengths count the terminator when a buffer is too small, and don't on success.
BOOL WINAPI LookupAccountNameW(LPCWSTR system, LPCWSTR account, PSID sid, LPDWORD sidBytes,
                               LPWSTR domain, LPDWORD domainLength, PSID_NAME_USE use);
BOOL WINAPI LookupAccountSidW(LPCWSTR system, PSID sid, LPWSTR name, LPDWORD nameLength,
                              LPWSTR domain, LPDWORD domainLength, PSID_NAME_USE use);
/// Knows the privilege to shut the machine down.
BOOL WINAPI LookupPrivilegeValueW(LPCWSTR machine, LPCWSTR name, PLUID privilege);
BOOL WINAPI LogonUserW(LPCWSTR user, LPCWSTR domain, LPCWSTR password, DWORD logonType,
                       DWORD provider, PHANDLE token);

using LPOVERLAPPED_COMPLETION_ROUTINE = void (*)(DWORD error, DWORD bytes, LPOVERLAPPED overlapped);

/// Changes of the entries of a folder, as the host reports them. The folder is open for listing and
/// overlapped, \p overlapped has an event that nothing else sets, and there is no routine.
BOOL WINAPI ReadDirectoryChangesW(HANDLE folder, LPVOID buffer, DWORD size, BOOL subtree,
                                  DWORD filter, LPDWORD bytes, LPOVERLAPPED overlapped,
                                  LPOVERLAPPED_COMPLETION_ROUTINE routine);

/// The system's English text for an error code, with a line end; 0 and 317 for one without.
DWORD WINAPI FormatMessageW(DWORD flags, LPCVOID source, DWORD code, DWORD language, LPWSTR buffer,
                            DWORD size, va_list* arguments);
