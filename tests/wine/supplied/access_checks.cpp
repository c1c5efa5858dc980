// Takes the place of the imports of Authz in a program that is tested under Wine, which has none:
// its functions answer 120.
#include <windows.h>

#include <authz.h>

#include <array>
#include <cstring>
#include <memory>

namespace {

constexpr DWORD kEverything = 0x1FFFFF;
/// Reading and writing the list itself.
constexpr DWORD kOwnersOwn = READ_CONTROL | WRITE_DAC;

/// One identifier and nothing that would come with a logon of it.
struct ClientContext {
  std::array<std::byte, SECURITY_MAX_SID_SIZE> sid;
};

PSID SidOf(AUTHZ_CLIENT_CONTEXT_HANDLE context) {
  return reinterpret_cast<ClientContext*>(context)->sid.data();
}

BOOL Refuse(DWORD error) {
  SetLastError(error);
  return FALSE;
}

/// What the entries for one identifier grant: the first that speaks of a right decides.
DWORD GrantedByList(PACL list, PSID sid) {
  DWORD granted = 0;
  DWORD denied = 0;
  for (DWORD i = 0; i < list->AceCount; ++i) {
    void* entry = nullptr;
    if (!GetAce(list, i, &entry)) break;
    // Both kinds of entries are made alike.
    auto* const ace = static_cast<ACCESS_ALLOWED_ACE*>(entry);
    const bool isInherited = (ace->Header.AceFlags & INHERIT_ONLY_ACE) != 0;
    if (isInherited || !EqualSid(&ace->SidStart, sid)) continue;
    if (ace->Header.AceType == ACCESS_ALLOWED_ACE_TYPE) granted |= ace->Mask & ~denied;
    if (ace->Header.AceType == ACCESS_DENIED_ACE_TYPE) denied |= ace->Mask & ~granted;
  }
  return granted;
}

DWORD GrantedRights(PSECURITY_DESCRIPTOR descriptor, PSID owner, PSID sid) {
  PACL list = nullptr;
  BOOL present = FALSE;
  BOOL defaulted = FALSE;
  if (!GetSecurityDescriptorDacl(descriptor, &present, &list, &defaulted)) return 0;
  if (!present || list == nullptr) return kEverything;
  return GrantedByList(list, sid) | (EqualSid(owner, sid) ? kOwnersOwn : 0);
}

BOOL WINAPI InitializeResourceManager(DWORD, PFN_AUTHZ_DYNAMIC_ACCESS_CHECK,
                                      PFN_AUTHZ_COMPUTE_DYNAMIC_GROUPS,
                                      PFN_AUTHZ_FREE_DYNAMIC_GROUPS, PCWSTR,
                                      PAUTHZ_RESOURCE_MANAGER_HANDLE manager) {
  *manager = reinterpret_cast<AUTHZ_RESOURCE_MANAGER_HANDLE>(new ClientContext());
  return TRUE;
}

BOOL WINAPI FreeResourceManager(AUTHZ_RESOURCE_MANAGER_HANDLE manager) {
  delete reinterpret_cast<ClientContext*>(manager);
  return TRUE;
}

BOOL WINAPI InitializeContextFromSid(DWORD flags, PSID sid, AUTHZ_RESOURCE_MANAGER_HANDLE manager,
                                     PLARGE_INTEGER, LUID, PVOID,
                                     PAUTHZ_CLIENT_CONTEXT_HANDLE context) {
  // Only accounts would do without the flag, and their groups would be asked for.
  if (flags != AUTHZ_SKIP_TOKEN_GROUPS) return Refuse(ERROR_NOT_SUPPORTED);
  if (manager == nullptr || sid == nullptr || !IsValidSid(sid)) {
    return Refuse(ERROR_INVALID_PARAMETER);
  }
  auto client = std::make_unique<ClientContext>();
  std::memcpy(client->sid.data(), sid, GetLengthSid(sid));
  *context = reinterpret_cast<AUTHZ_CLIENT_CONTEXT_HANDLE>(client.release());
  return TRUE;
}

BOOL WINAPI FreeContext(AUTHZ_CLIENT_CONTEXT_HANDLE context) {
  delete reinterpret_cast<ClientContext*>(context);
  return TRUE;
}

BOOL WINAPI AccessCheck(DWORD, AUTHZ_CLIENT_CONTEXT_HANDLE context, PAUTHZ_ACCESS_REQUEST request,
                        AUTHZ_AUDIT_EVENT_HANDLE, PSECURITY_DESCRIPTOR descriptor,
                        PSECURITY_DESCRIPTOR*, DWORD, PAUTHZ_ACCESS_REPLY reply,
                        PAUTHZ_ACCESS_CHECK_RESULTS_HANDLE) {
  if (request->DesiredAccess != MAXIMUM_ALLOWED) return Refuse(ERROR_NOT_SUPPORTED);
  PSID owner = nullptr;
  BOOL defaulted = FALSE;
  if (context == nullptr || descriptor == nullptr ||
      !GetSecurityDescriptorOwner(descriptor, &owner, &defaulted) || owner == nullptr) {
    return Refuse(ERROR_INVALID_PARAMETER);
  }
  const DWORD granted = GrantedRights(descriptor, owner, SidOf(context));
  *reply->GrantedAccessMask = granted;
  *reply->Error = granted == 0 ? ERROR_ACCESS_DENIED : ERROR_SUCCESS;
  if (reply->SaclEvaluationResults != nullptr) *reply->SaclEvaluationResults = 0;
  return TRUE;
}

}  // namespace

// What calls of imported functions go through. The linker takes these before it looks into the
// import libraries.
extern "C" {
decltype(&AuthzInitializeResourceManager) __imp_AuthzInitializeResourceManager =
    InitializeResourceManager;
decltype(&AuthzFreeResourceManager) __imp_AuthzFreeResourceManager = FreeResourceManager;
decltype(&AuthzInitializeContextFromSid) __imp_AuthzInitializeContextFromSid =
    InitializeContextFromSid;
decltype(&AuthzFreeContext) __imp_AuthzFreeContext = FreeContext;
decltype(&AuthzAccessCheck) __imp_AuthzAccessCheck = AccessCheck;
}
