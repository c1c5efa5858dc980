// Environments of users.
#pragma once

#include <minwindef.h>
#include <winnt.h>

BOOL WINAPI ExpandEnvironmentStringsForUserW(HANDLE token, LPCWSTR source, LPWSTR target,
                                             DWORD targetLength);

/// UTF-16's place is taken by the host's wide characters: entries "NAME=value", each with a zero at
/// its end, and one more at the end of the block.
BOOL WINAPI CreateEnvironmentBlock(LPVOID* environment, HANDLE token, BOOL inherit);
BOOL WINAPI DestroyEnvironmentBlock(LPVOID environment);
