// Security identifiers, membership in groups, and what descriptors grant.
#pragma once

#include <accctrl.h>
#include <minwinbase.h>
#include <minwindef.h>
#include <winnt.h>

BOOL WINAPI AllocateAndInitializeSid(PSID_IDENTIFIER_AUTHORITY authority, BYTE subAuthorityCount,
                                     DWORD subAuthority0, DWORD subAuthority1, DWORD subAuthority2,
                                     DWORD subAuthority3, DWORD subAuthority4, DWORD subAuthority5,
                                     DWORD subAuthority6, DWORD subAuthority7, PSID* sid);
/// For one privilege of a token that is asked for nothing it had before.
BOOL WINAPI AdjustTokenPrivileges(HANDLE token, BOOL disableAll, PTOKEN_PRIVILEGES privileges,
                                  DWORD length, PTOKEN_PRIVILEGES former, PDWORD needed);
BOOL WINAPI CheckTokenMembership(HANDLE token, PSID sid, PBOOL isMember);
BOOL WINAPI DuplicateTokenEx(HANDLE token, DWORD access, LPSECURITY_ATTRIBUTES attributes,
                             SECURITY_IMPERSONATION_LEVEL level, TOKEN_TYPE type, PHANDLE copy);
PVOID WINAPI FreeSid(PSID sid);
BOOL WINAPI CreateWellKnownSid(WELL_KNOWN_SID_TYPE type, PSID domain, PSID sid, DWORD* bytes);

BOOL WINAPI AreAllAccessesGranted(DWORD granted, DWORD wanted);
/// Too small a buffer: the size that would do is reported.
BOOL WINAPI GetFileSecurityW(LPCWSTR name, SECURITY_INFORMATION wanted,
                             PSECURITY_DESCRIPTOR descriptor, DWORD bytes, PDWORD needed);
/// The descriptor that an object gets from the container in which it is made.
BOOL WINAPI CreatePrivateObjectSecurity(PSECURITY_DESCRIPTOR parent, PSECURITY_DESCRIPTOR creator,
                                        PSECURITY_DESCRIPTOR* made, BOOL isContainer, HANDLE token,
                                        PGENERIC_MAPPING mapping);
BOOL WINAPI DestroyPrivateObjectSecurity(PSECURITY_DESCRIPTOR* descriptor);

/// The calling thread acts for its process's user until RevertToSelf().
BOOL WINAPI ImpersonateSelf(SECURITY_IMPERSONATION_LEVEL level);
BOOL WINAPI RevertToSelf();
