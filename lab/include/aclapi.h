// Making of access lists and of descriptors around them.
#pragma once

#include <accctrl.h>

/// \return The error code. The list is to be released with LocalFree().
DWORD WINAPI SetEntriesInAclW(ULONG count, PEXPLICIT_ACCESS_W entries, PACL oldAcl, PACL* newAcl);
BOOL WINAPI InitializeSecurityDescriptor(PSECURITY_DESCRIPTOR descriptor, DWORD revision);
/// The descriptor keeps the pointer; it copies nothing.
BOOL WINAPI SetSecurityDescriptorDacl(PSECURITY_DESCRIPTOR descriptor, BOOL present, PACL dacl,
                                      BOOL defaulted);
BOOL WINAPI SetSecurityDescriptorControl(PSECURITY_DESCRIPTOR descriptor,
                                         SECURITY_DESCRIPTOR_CONTROL mask,
                                         SECURITY_DESCRIPTOR_CONTROL bits);
BOOL WINAPI MakeSelfRelativeSD(PSECURITY_DESCRIPTOR absolute, PSECURITY_DESCRIPTOR selfRelative,
                               LPDWORD bytes);

/// \return Null on success.
HANDLE WINAPI LocalFree(HANDLE memory);
