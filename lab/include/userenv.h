// Environments of users.
#pragma once

#include <minwindef.h>
#include <winnt.h>

BOOL WINAPI ExpandEnvironmentStringsForUserW(HANDLE token, LPCWSTR source, LPWSTR target,
                                             DWORD targetLength);
