#include <cstring>
#include <new>
#include <string>

#include "api/failure.h"
#include "files/security_ids.h"
#include "machine/call.h"
#include "machine/handles.h"
#include "machine/machine.h"
#include "process/token.h"
#include "secext.h"
#include "securitybaseapi.h"
#include "winerror.h"

namespace {

using Lab::Fail;

constexpr BYTE kMostSubAuthorities = 8;

}  // namespace

BOOLEAN WINAPI GetUserNameExW(EXTENDED_NAME_FORMAT format, LPWSTR name, PULONG nameLength) {
  const Lab::Call call("GetUserNameExW");
  if (call.FailsByPlan()) return FALSE;
  LAB_SUPPORTS(format == NameSamCompatible);
  LAB_SUPPORTS(nameLength != nullptr);
  const std::wstring& user = Lab::TheMachine().Describe().userName;
  const ULONG room = *nameLength;
  if (name == nullptr || room <= user.size()) {
    *nameLength = static_cast<ULONG>(user.size() + 1);
    return static_cast<BOOLEAN>(Fail(ERROR_MORE_DATA));
  }
  user.copy(name, user.size());
  name[user.size()] = L'\0';
  *nameLength = static_cast<ULONG>(user.size());
  return TRUE;
}

BOOL WINAPI AllocateAndInitializeSid(PSID_IDENTIFIER_AUTHORITY authority, BYTE subAuthorityCount,
                                     DWORD subAuthority0, DWORD subAuthority1, DWORD subAuthority2,
                                     DWORD subAuthority3, DWORD subAuthority4, DWORD subAuthority5,
                                     DWORD subAuthority6, DWORD subAuthority7, PSID* sid) {
  const Lab::Call call("AllocateAndInitializeSid");
  if (call.FailsByPlan()) return FALSE;
  LAB_SUPPORTS(authority != nullptr && sid != nullptr);
  if (subAuthorityCount > kMostSubAuthorities) return Fail(ERROR_INVALID_SID);
  void* const memory = ::operator new(Lab::SidBytes(kMostSubAuthorities));
  SID* const made = new (memory) SID{SID_REVISION, subAuthorityCount, *authority, {}};
  const DWORD values[kMostSubAuthorities] = {subAuthority0, subAuthority1, subAuthority2,
                                             subAuthority3, subAuthority4, subAuthority5,
                                             subAuthority6, subAuthority7};
  std::memcpy(static_cast<BYTE*>(memory) + offsetof(SID, SubAuthority), values,
              subAuthorityCount * sizeof(DWORD));
  *sid = made;
  return TRUE;
}

BOOL WINAPI CheckTokenMembership(HANDLE token, PSID sid, PBOOL isMember) {
  const Lab::Call call("CheckTokenMembership");
  if (call.FailsByPlan()) return FALSE;
  LAB_SUPPORTS(sid != nullptr && isMember != nullptr);
  const std::wstring wanted = Lab::SidText(sid);
  if (token == nullptr) {
    *isMember = Lab::TheMachine().Describe().UserIsOf(wanted);
    return TRUE;
  }
  const auto object = Lab::Handles().FindAs<Lab::Token>(token);
  if (object == nullptr || object->IsPrimary()) {
    return Fail(object == nullptr ? ERROR_INVALID_HANDLE : ERROR_NO_IMPERSONATION_TOKEN);
  }
  *isMember = object->IsOf(wanted);
  return TRUE;
}

PVOID WINAPI FreeSid(PSID sid) {
  const Lab::Call call("FreeSid");
  if (call.FailsByPlan()) return sid;
  ::operator delete(sid);
  return nullptr;
}
