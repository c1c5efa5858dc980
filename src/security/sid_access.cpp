#include "core/logging.h"
#include "host/authorization_api.h"
#include "security/path_permissions.h"

namespace Halvard::Security {
namespace {

constexpr DWORD kExecute = FILE_GENERIC_EXECUTE | FILE_LIST_DIRECTORY;
constexpr DWORD kAcl = READ_CONTROL | WRITE_DAC | WRITE_OWNER;

Host::UniqueAuthzManager MakeManager() {
  AUTHZ_RESOURCE_MANAGER_HANDLE manager = nullptr;
  // Audits would need a privilege, and nobody reads them.
  if (!AuthzInitializeResourceManager(AUTHZ_RM_FLAG_NO_AUDIT, nullptr, nullptr, nullptr, nullptr,
                                      &manager)) {
    const DWORD error = GetLastError();
    LogScope log;
    log.Error(L"CheckSidAccess: Failed to init manager: %d", error);
    return Host::UniqueAuthzManager();
  }
  return Host::UniqueAuthzManager(manager);
}

Host::UniqueAuthzContext MakeContext(AUTHZ_RESOURCE_MANAGER_HANDLE manager, PSID sid) {
  AUTHZ_CLIENT_CONTEXT_HANDLE context = nullptr;
  const LUID unused = {};
  // The group stands for itself. Without the flag only accounts would do, and their domain would be
  // asked for their groups.
  if (AuthzInitializeContextFromSid(AUTHZ_SKIP_TOKEN_GROUPS, sid, manager, nullptr, unused, nullptr,
                                    &context)) {
    return Host::UniqueAuthzContext(context);
  }
  const DWORD error = GetLastError();
  LogScope log;
  if (error == ERROR_NONE_MAPPED) {
    log.Warn(L"CheckSidAccess: Couldn't init context for sid (none mapped)");
  } else {
    log.Error(L"CheckSidAccess: Failed to init context from sid: %d", error);
  }
  return Host::UniqueAuthzContext();
}

bool AskForRights(AUTHZ_CLIENT_CONTEXT_HANDLE context, PSECURITY_DESCRIPTOR descriptor,
                  DWORD& granted) {
  AUTHZ_ACCESS_REQUEST request = {};
  request.DesiredAccess = MAXIMUM_ALLOWED;
  DWORD result = ERROR_SUCCESS;
  DWORD audit = 0;
  AUTHZ_ACCESS_REPLY reply = {};
  reply.ResultListLength = 1;
  reply.GrantedAccessMask = &granted;
  reply.SaclEvaluationResults = &audit;
  reply.Error = &result;
  if (AuthzAccessCheck(0, context, &request, nullptr, descriptor, nullptr, 0, &reply, nullptr)) {
    return true;
  }
  const DWORD error = GetLastError();
  LogScope log;
  log.Error(L"CheckSidAccess: AuthzAccessCheck failed: %d", error);
  return false;
}

void AddGranted(DWORD granted, PathPermissions& permissions) {
  const auto add = [granted](DWORD mask, bool& flag) {
    if (AreAllAccessesGranted(granted, mask)) flag = true;
  };
  add(FILE_GENERIC_READ, permissions.read);
  add(FILE_GENERIC_WRITE, permissions.write);
  add(kExecute, permissions.execute);
  add(DELETE, permissions.deleteSelf);
  add(FILE_DELETE_CHILD, permissions.deleteChild);
  add(kAcl, permissions.acl);
}

}  // namespace

bool CheckSidAccess(PSECURITY_DESCRIPTOR descriptor, PSID sid, PathPermissions& permissions) {
  const Host::UniqueAuthzManager manager = MakeManager();
  if (!manager) return false;
  const Host::UniqueAuthzContext context = MakeContext(manager.Get(), sid);
  if (!context) return false;
  DWORD granted = 0;
  if (!AskForRights(context.Get(), descriptor, granted)) return false;
  AddGranted(granted, permissions);
  return true;
}

}  // namespace Halvard::Security
