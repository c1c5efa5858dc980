// Access checks for identifiers without a logon.
#include "authz.h"

#include <memory>
#include <string>

#include "api/failure.h"
#include "files/security_ids.h"
#include "machine/call.h"
#include "machine/handles.h"
#include "security/access_check.h"
#include "winerror.h"

namespace {

using Lab::Fail;

class ResourceManager : public Lab::Object {
 public:
  const char* TypeName() const override { return "AuthzResourceManager"; }
};

/// One identifier and nothing that would come with a logon of it.
class ClientContext : public Lab::Object {
 public:
  explicit ClientContext(std::wstring sid) : sid_(std::move(sid)) {}

  const char* TypeName() const override { return "AuthzClientContext"; }
  const std::wstring& Sid() const { return sid_; }

 private:
  const std::wstring sid_;
};

template <typename Kind>
BOOL Free(HANDLE handle) {
  if (Lab::Handles().FindAs<Kind>(handle) == nullptr) return Fail(ERROR_INVALID_PARAMETER);
  Lab::Handles().Close(handle);
  return TRUE;
}

bool AsksForAllThereIs(const AUTHZ_ACCESS_REQUEST& request) {
  return request.DesiredAccess == MAXIMUM_ALLOWED && request.PrincipalSelfSid == nullptr &&
         request.ObjectTypeList == nullptr && request.ObjectTypeListLength == 0 &&
         request.OptionalArguments == nullptr;
}

}  // namespace

BOOL WINAPI AuthzInitializeResourceManager(DWORD flags, PFN_AUTHZ_DYNAMIC_ACCESS_CHECK accessCheck,
                                           PFN_AUTHZ_COMPUTE_DYNAMIC_GROUPS computeGroups,
                                           PFN_AUTHZ_FREE_DYNAMIC_GROUPS freeGroups, LPCWSTR name,
                                           PAUTHZ_RESOURCE_MANAGER_HANDLE manager) {
  const Lab::Call call("AuthzInitializeResourceManager");
  if (call.FailsByPlan()) return FALSE;
  // With audits a privilege would be needed that an administrator hasn't got.
  LAB_SUPPORTS(flags == AUTHZ_RM_FLAG_NO_AUDIT && name == nullptr && manager != nullptr);
  LAB_SUPPORTS(accessCheck == nullptr && computeGroups == nullptr && freeGroups == nullptr);
  *manager = Lab::Handles().Add(std::make_shared<ResourceManager>());
  return TRUE;
}

BOOL WINAPI AuthzFreeResourceManager(AUTHZ_RESOURCE_MANAGER_HANDLE manager) {
  const Lab::Call call("AuthzFreeResourceManager");
  if (call.FailsByPlan()) return FALSE;
  return Free<ResourceManager>(manager);
}

BOOL WINAPI AuthzInitializeContextFromSid(DWORD flags, PSID sid,
                                          AUTHZ_RESOURCE_MANAGER_HANDLE manager,
                                          PLARGE_INTEGER expirationTime, LUID /*identifier*/,
                                          PVOID dynamicGroupArguments,
                                          PAUTHZ_CLIENT_CONTEXT_HANDLE context) {
  const Lab::Call call("AuthzInitializeContextFromSid");
  if (call.FailsByPlan()) return FALSE;
  // Without the flag only accounts of users and computers would do, and the domain would be asked.
  LAB_SUPPORTS(flags == AUTHZ_SKIP_TOKEN_GROUPS && expirationTime == nullptr);
  LAB_SUPPORTS(dynamicGroupArguments == nullptr && context != nullptr);
  if (Lab::Handles().FindAs<ResourceManager>(manager) == nullptr || sid == nullptr ||
      !Lab::IsValidSid(*static_cast<const SID*>(sid))) {
    return Fail(ERROR_INVALID_PARAMETER);
  }
  *context = Lab::Handles().Add(std::make_shared<ClientContext>(Lab::SidText(sid)));
  return TRUE;
}

BOOL WINAPI AuthzFreeContext(AUTHZ_CLIENT_CONTEXT_HANDLE context) {
  const Lab::Call call("AuthzFreeContext");
  if (call.FailsByPlan()) return FALSE;
  return Free<ClientContext>(context);
}

BOOL WINAPI AuthzAccessCheck(DWORD flags, AUTHZ_CLIENT_CONTEXT_HANDLE context,
                             PAUTHZ_ACCESS_REQUEST request, AUTHZ_AUDIT_EVENT_HANDLE auditEvent,
                             PSECURITY_DESCRIPTOR descriptor,
                             PSECURITY_DESCRIPTOR* optionalDescriptors, DWORD optionalCount,
                             PAUTHZ_ACCESS_REPLY reply,
                             PAUTHZ_ACCESS_CHECK_RESULTS_HANDLE results) {
  const Lab::Call call("AuthzAccessCheck");
  if (call.FailsByPlan()) return FALSE;
  LAB_SUPPORTS(flags == 0 && auditEvent == nullptr && results == nullptr);
  LAB_SUPPORTS(optionalDescriptors == nullptr && optionalCount == 0);
  LAB_SUPPORTS(request != nullptr && AsksForAllThereIs(*request));
  LAB_SUPPORTS(reply != nullptr && reply->ResultListLength == 1);
  LAB_SUPPORTS(reply->GrantedAccessMask != nullptr && reply->Error != nullptr);
  const auto client = Lab::Handles().FindAs<ClientContext>(context);
  if (client == nullptr || descriptor == nullptr) return Fail(ERROR_INVALID_PARAMETER);
  const Lab::SecurityDescriptor read = Lab::ReadSelfRelative(descriptor);
  if (read.owner.empty()) return Fail(ERROR_INVALID_PARAMETER);
  const DWORD granted = Lab::GrantedRights(read, client->Sid());
  *reply->GrantedAccessMask = granted;
  *reply->Error = granted == 0 ? ERROR_ACCESS_DENIED : ERROR_SUCCESS;
  if (reply->SaclEvaluationResults != nullptr) *reply->SaclEvaluationResults = 0;
  return TRUE;
}
