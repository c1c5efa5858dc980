#include "security/security_descriptor.h"

#include <new>

#include "core/logging.h"

namespace Halvard::Security {
namespace {

Host::UniqueAccessList MakeAccessList(ULONG count, EXPLICIT_ACCESS_W* entries, LogScope& log) {
  PACL list = nullptr;
  DWORD error = SetEntriesInAclW(count, entries, nullptr, &list);
  // No entries make no list, and that success would let everyone in.
  if (error == ERROR_SUCCESS && list == nullptr) error = ERROR_INVALID_PARAMETER;
  if (error != ERROR_SUCCESS) {
    log.Error(L"AllocateSecurityDescriptor: Unable to set security entries in ACL: %u", error);
    return Host::UniqueAccessList();
  }
  return Host::UniqueAccessList(list);
}

// What keeps a list from becoming a descriptor is information, beside the error of whoever wanted
// the descriptor; no list, or none that could be measured, is an error of its own.

/// \param list  Has to outlive the descriptor, which points to it.
bool MakeAbsolute(PACL list, SECURITY_DESCRIPTOR& descriptor, LogScope& log) {
  if (!InitializeSecurityDescriptor(&descriptor, SECURITY_DESCRIPTOR_REVISION)) {
    const DWORD error = GetLastError();
    log.Info(L"AllocateSecurityDescriptor: Unable to initialize security descriptor: %u", error);
    return false;
  }
  if (!SetSecurityDescriptorDacl(&descriptor, TRUE, list, FALSE)) {
    const DWORD error = GetLastError();
    log.Info(L"AllocateSecurityDescriptor: Unable to set DACL in security descriptor: %u", error);
    return false;
  }
  return true;
}

/// \return The size in bytes of the self-relative form; 0 after a failure.
DWORD SelfRelativeSize(SECURITY_DESCRIPTOR& absolute, LogScope& log) {
  DWORD size = 0;
  if (MakeSelfRelativeSD(&absolute, nullptr, &size)) {
    log.Info(
        L"AllocateSecurityDescriptor: MakeSelfRelativeSD succeeded with a zero length buffer.");
    return 0;
  }
  const DWORD error = GetLastError();
  if (error == ERROR_INSUFFICIENT_BUFFER) return size;
  log.Error(L"AllocateSecurityDescriptor: Unable to determine relative SD length: %u", error);
  return 0;
}

OwnedDescriptor MakeSelfRelative(SECURITY_DESCRIPTOR& absolute, LogScope& log) {
  DWORD size = SelfRelativeSize(absolute, log);
  if (size == 0) return nullptr;
  OwnedDescriptor descriptor(new (std::nothrow) std::byte[size]);
  if (descriptor == nullptr) {
    log.Info(L"AllocateSecurityDescriptor: Unable to allocate relative security descriptor.");
    return nullptr;
  }
  if (!MakeSelfRelativeSD(&absolute, descriptor.get(), &size)) {
    const DWORD error = GetLastError();
    log.Info(L"AllocateSecurityDescriptor: Unable to make relative SD: %u", error);
    return nullptr;
  }
  return descriptor;
}

/// Keeps out what the folder of a new object would merge into its list: in a temp folder that is
/// the user, whose unelevated programs would get in.
bool KeepOutInherited(std::byte* descriptor, LogScope& log) {
  if (SetSecurityDescriptorControl(descriptor, SE_DACL_PROTECTED, SE_DACL_PROTECTED)) return true;
  const DWORD error = GetLastError();
  log.Error(L"AllocateAdministratorsDescriptor: Unable to protect DACL: %u", error);
  return false;
}

}  // namespace

OwnedDescriptor AllocateSecurityDescriptor(ULONG count, EXPLICIT_ACCESS_W* entries) {
  LogScope log;
  const Host::UniqueAccessList list = MakeAccessList(count, entries, log);
  if (!list) return nullptr;
  SECURITY_DESCRIPTOR absolute = {};
  if (!MakeAbsolute(list.Get(), absolute, log)) return nullptr;
  return MakeSelfRelative(absolute, log);
}

bool InitializeExplicitAccess(BYTE subAuthorityCount, DWORD subAuthority0, DWORD subAuthority1,
                              DWORD accessMask, EXPLICIT_ACCESS_W& entry) {
  LogScope log;
  SID_IDENTIFIER_AUTHORITY authority = SECURITY_NT_AUTHORITY;
  PSID sid = nullptr;
  if (!AllocateAndInitializeSid(&authority, subAuthorityCount, subAuthority0, subAuthority1, 0, 0,
                                0, 0, 0, 0, &sid)) {
    const DWORD error = GetLastError();
    log.Info(L"InitializeExplicitAccess: Unable to alloc SID: %u", error);
    return false;
  }
  entry = {};
  entry.grfAccessPermissions = accessMask;
  entry.grfAccessMode = SET_ACCESS;
  entry.grfInheritance = NO_INHERITANCE;
  entry.Trustee.MultipleTrusteeOperation = NO_MULTIPLE_TRUSTEE;
  entry.Trustee.TrusteeForm = TRUSTEE_IS_SID;
  entry.Trustee.TrusteeType = TRUSTEE_IS_WELL_KNOWN_GROUP;
  entry.Trustee.ptstrName = static_cast<LPWSTR>(sid);
  return true;
}

OwnedDescriptor AllocateAdministratorsDescriptor() {
  LogScope log;
  EXPLICIT_ACCESS_W entry = {};
  if (!InitializeExplicitAccess(2, SECURITY_BUILTIN_DOMAIN_RID, DOMAIN_ALIAS_RID_ADMINS,
                                GENERIC_ALL, entry)) {
    return nullptr;
  }
  const Host::UniqueSid sid(entry.Trustee.ptstrName);
  OwnedDescriptor descriptor = AllocateSecurityDescriptor(1, &entry);
  if (descriptor == nullptr || !KeepOutInherited(descriptor.get(), log)) return nullptr;
  return descriptor;
}

}  // namespace Halvard::Security
