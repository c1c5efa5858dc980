// Asking what a descriptor grants to an account that isn't logged on.
#pragma once

#include <accctrl.h>
#include <winnt.h>

#define AUTHZ_RM_FLAG_NO_AUDIT 0x1u
/// The context holds the given identifier alone; accounts aren't asked for their groups.
#define AUTHZ_SKIP_TOKEN_GROUPS 0x2u

using AUTHZ_RESOURCE_MANAGER_HANDLE = HANDLE;
using PAUTHZ_RESOURCE_MANAGER_HANDLE = AUTHZ_RESOURCE_MANAGER_HANDLE*;
using AUTHZ_CLIENT_CONTEXT_HANDLE = HANDLE;
using PAUTHZ_CLIENT_CONTEXT_HANDLE = AUTHZ_CLIENT_CONTEXT_HANDLE*;
using AUTHZ_AUDIT_EVENT_HANDLE = HANDLE;
using AUTHZ_ACCESS_CHECK_RESULTS_HANDLE = HANDLE;
using PAUTHZ_ACCESS_CHECK_RESULTS_HANDLE = AUTHZ_ACCESS_CHECK_RESULTS_HANDLE*;

struct OBJECT_TYPE_LIST;

struct AUTHZ_ACCESS_REQUEST {
  ACCESS_MASK DesiredAccess;
  PSID PrincipalSelfSid;
  OBJECT_TYPE_LIST* ObjectTypeList;
  DWORD ObjectTypeListLength;
  PVOID OptionalArguments;
};
using PAUTHZ_ACCESS_REQUEST = AUTHZ_ACCESS_REQUEST*;

/// The caller supplies the lists, of ResultListLength elements each.
struct AUTHZ_ACCESS_REPLY {
  DWORD ResultListLength;
  PDWORD GrantedAccessMask;
  PDWORD SaclEvaluationResults;
  PDWORD Error;
};
using PAUTHZ_ACCESS_REPLY = AUTHZ_ACCESS_REPLY*;

using PFN_AUTHZ_DYNAMIC_ACCESS_CHECK = PVOID;
using PFN_AUTHZ_COMPUTE_DYNAMIC_GROUPS = PVOID;
using PFN_AUTHZ_FREE_DYNAMIC_GROUPS = PVOID;

BOOL WINAPI AuthzInitializeResourceManager(DWORD flags, PFN_AUTHZ_DYNAMIC_ACCESS_CHECK accessCheck,
                                           PFN_AUTHZ_COMPUTE_DYNAMIC_GROUPS computeGroups,
                                           PFN_AUTHZ_FREE_DYNAMIC_GROUPS freeGroups, LPCWSTR name,
                                           PAUTHZ_RESOURCE_MANAGER_HANDLE manager);
BOOL WINAPI AuthzFreeResourceManager(AUTHZ_RESOURCE_MANAGER_HANDLE manager);
BOOL WINAPI AuthzInitializeContextFromSid(DWORD flags, PSID sid,
                                          AUTHZ_RESOURCE_MANAGER_HANDLE manager,
                                          PLARGE_INTEGER expirationTime, LUID identifier,
                                          PVOID dynamicGroupArguments,
                                          PAUTHZ_CLIENT_CONTEXT_HANDLE context);
BOOL WINAPI AuthzFreeContext(AUTHZ_CLIENT_CONTEXT_HANDLE context);
BOOL WINAPI AuthzAccessCheck(DWORD flags, AUTHZ_CLIENT_CONTEXT_HANDLE context,
                             PAUTHZ_ACCESS_REQUEST request, AUTHZ_AUDIT_EVENT_HANDLE auditEvent,
                             PSECURITY_DESCRIPTOR descriptor,
                             PSECURITY_DESCRIPTOR* optionalDescriptors, DWORD optionalCount,
                             PAUTHZ_ACCESS_REPLY reply, PAUTHZ_ACCESS_CHECK_RESULTS_HANDLE results);
