#include "host/machine_shutdown.h"

#include "host/unique_resource.h"

namespace Halvard::Host {
namespace {

constexpr DWORD kGraceSeconds = 2;
constexpr DWORD kUnplanned = 0;

/// Administrators have the privilege, but not in force. Without it the shutdown is refused, and its
/// own code says so: nothing here needs to be looked at.
void EnableShutdownPrivilege() {
  HANDLE token = nullptr;
  if (!OpenProcessToken(GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES | TOKEN_QUERY, &token)) return;
  const UniqueHandle owner(token);
  TOKEN_PRIVILEGES privileges{};
  privileges.PrivilegeCount = 1;
  privileges.Privileges[0].Attributes = SE_PRIVILEGE_ENABLED;
  if (!LookupPrivilegeValueW(nullptr, SE_SHUTDOWN_NAME, &privileges.Privileges[0].Luid)) return;
  (void)AdjustTokenPrivileges(token, FALSE, &privileges, 0, nullptr, nullptr);
}

DWORD Initiate(std::wstring message, DWORD flags) {
  return InitiateShutdownW(nullptr, message.data(), kGraceSeconds, flags, kUnplanned);
}

}  // namespace

DWORD ShutDownThisMachine(const std::wstring& message) {
  EnableShutdownPrivilege();
  const DWORD code = Initiate(message, SHUTDOWN_FORCE_OTHERS);
  // Some systems grant a time of grace only to a shutdown that closes the caller's programs too.
  if (code != ERROR_INVALID_PARAMETER) return code;
  return Initiate(message, SHUTDOWN_FORCE_OTHERS | SHUTDOWN_FORCE_SELF);
}

}  // namespace Halvard::Host
