#include "core/startup/administrator_check.h"

#include "core/logging.h"
#include "host/unique_resource.h"
#include "host/windows_api.h"

namespace Halvard {
namespace {

void LogLaunchingUser() {
  LogScope log;
  constexpr ULONG kUserSize = 256;
  wchar_t user[kUserSize] = {};
  ULONG size = kUserSize;
  if (GetUserNameExW(NameSamCompatible, user, &size)) {
    log.Info(L"SanityCheckAdminPrivilege: Launching user retrieved successfully: '%s'", user);
    return;
  }
  const DWORD error = GetLastError();
  log.Warn(L"SanityCheckAdminPrivilege: Failed to retrive launching user. Error code: %d", error);
}

}  // namespace

bool SanityCheckAdminPrivilege() {
  LogScope log;
  LogLaunchingUser();
  SID_IDENTIFIER_AUTHORITY authority = SECURITY_NT_AUTHORITY;
  PSID group = nullptr;
  if (!AllocateAndInitializeSid(&authority, 2, SECURITY_BUILTIN_DOMAIN_RID, DOMAIN_ALIAS_RID_ADMINS,
                                0, 0, 0, 0, 0, 0, &group)) {
    const DWORD error = GetLastError();
    log.Error(L"SanityCheckAdminPrivilege: Failed to allocate Administrator SID. Error code: %d",
              error);
    return false;
  }
  const Host::UniqueSid administrators(group);
  BOOL isMember = FALSE;
  if (!CheckTokenMembership(nullptr, administrators.Get(), &isMember)) {
    const DWORD error = GetLastError();
    log.Error(
        L"SanityCheckAdminPrivilege: Failed to check if process has admin privilege. Error code: %d",
        error);
    return false;
  }
  if (!isMember) {
    log.Error(L"SanityCheckAdminPrivilege: Process does not have admin privilege.");
    return false;
  }
  log.Info(L"SanityCheckAdminPrivilege: Process has admin privilege.");
  return true;
}

}  // namespace Halvard
