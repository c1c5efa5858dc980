// Security identifiers and membership in groups.
#pragma once

#include <minwinbase.h>
#include <minwindef.h>
#include <winnt.h>

BOOL WINAPI AllocateAndInitializeSid(PSID_IDENTIFIER_AUTHORITY authority, BYTE subAuthorityCount,
                                     DWORD subAuthority0, DWORD subAuthority1, DWORD subAuthority2,
                                     DWORD subAuthority3, DWORD subAuthority4, DWORD subAuthority5,
                                     DWORD subAuthority6, DWORD subAuthority7, PSID* sid);
BOOL WINAPI CheckTokenMembership(HANDLE token, PSID sid, PBOOL isMember);
BOOL WINAPI DuplicateTokenEx(HANDLE token, DWORD access, LPSECURITY_ATTRIBUTES attributes,
                             SECURITY_IMPERSONATION_LEVEL level, TOKEN_TYPE type, PHANDLE copy);
PVOID WINAPI FreeSid(PSID sid);
