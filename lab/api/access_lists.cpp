// Access lists and security descriptors in memory.
#include <cstddef>
#include <cstring>
#include <new>

#include "aclapi.h"
#include "api/failure.h"
#include "files/security_ids.h"
#include "machine/call.h"
#include "winerror.h"

namespace {

/// What the agent's entries are: one trustee by its identifier, and nothing to be inherited.
bool IsPlainEntry(const EXPLICIT_ACCESS_W& entry) {
  return entry.grfAccessMode == SET_ACCESS && entry.grfInheritance == NO_INHERITANCE &&
         entry.Trustee.pMultipleTrustee == nullptr &&
         entry.Trustee.MultipleTrusteeOperation == NO_MULTIPLE_TRUSTEE &&
         entry.Trustee.TrusteeForm == TRUSTEE_IS_SID;
}

PACL MakeList(DWORD mask, const SID& sid) {
  const std::size_t sidBytes = Lab::SidBytes(sid.SubAuthorityCount);
  const auto entryBytes = static_cast<WORD>(offsetof(ACCESS_ALLOWED_ACE, SidStart) + sidBytes);
  const auto listBytes = static_cast<WORD>(sizeof(ACL) + entryBytes);
  auto* const memory = static_cast<BYTE*>(::operator new(listBytes));
  const ACL head = {ACL_REVISION, 0, listBytes, 1, 0};
  // Generic rights stay as they are: they are mapped where the list is given to an object.
  const ACCESS_ALLOWED_ACE entry = {{ACCESS_ALLOWED_ACE_TYPE, 0, entryBytes}, mask, 0};
  std::memcpy(memory, &head, sizeof head);
  std::memcpy(memory + sizeof head, &entry, offsetof(ACCESS_ALLOWED_ACE, SidStart));
  std::memcpy(memory + sizeof head + offsetof(ACCESS_ALLOWED_ACE, SidStart), &sid, sidBytes);
  return reinterpret_cast<PACL>(memory);
}

SECURITY_DESCRIPTOR& Absolute(PSECURITY_DESCRIPTOR descriptor) {
  return *static_cast<SECURITY_DESCRIPTOR*>(descriptor);
}

}  // namespace

DWORD WINAPI SetEntriesInAclW(ULONG count, PEXPLICIT_ACCESS_W entries, PACL oldAcl, PACL* newAcl) {
  const Lab::Call call("SetEntriesInAclW");
  LAB_SUPPORTS(count <= 1 && oldAcl == nullptr && newAcl != nullptr);
  *newAcl = nullptr;
  if (call.PlannedError()) return *call.PlannedError();
  // Seen so: no entries give no list, which grants everything to everyone, and not an empty one.
  if (count == 0) return ERROR_SUCCESS;
  LAB_SUPPORTS(entries != nullptr && IsPlainEntry(entries[0]));
  const auto* sid = reinterpret_cast<const SID*>(entries[0].Trustee.ptstrName);
  if (sid == nullptr || !Lab::IsValidSid(*sid)) return ERROR_INVALID_PARAMETER;
  *newAcl = MakeList(entries[0].grfAccessPermissions, *sid);
  return ERROR_SUCCESS;
}

BOOL WINAPI InitializeSecurityDescriptor(PSECURITY_DESCRIPTOR descriptor, DWORD revision) {
  const Lab::Call call("InitializeSecurityDescriptor");
  if (call.FailsByPlan()) return FALSE;
  LAB_SUPPORTS(descriptor != nullptr && revision == SECURITY_DESCRIPTOR_REVISION);
  Absolute(descriptor) = {};
  Absolute(descriptor).Revision = SECURITY_DESCRIPTOR_REVISION;
  return TRUE;
}

BOOL WINAPI SetSecurityDescriptorDacl(PSECURITY_DESCRIPTOR descriptor, BOOL present, PACL dacl,
                                      BOOL defaulted) {
  const Lab::Call call("SetSecurityDescriptorDacl");
  if (call.FailsByPlan()) return FALSE;
  LAB_SUPPORTS(descriptor != nullptr && present != FALSE && defaulted == FALSE);
  LAB_SUPPORTS((Absolute(descriptor).Control & SE_SELF_RELATIVE) == 0);
  Absolute(descriptor).Dacl = dacl;
  Absolute(descriptor).Control |= SE_DACL_PRESENT;
  return TRUE;
}

BOOL WINAPI SetSecurityDescriptorControl(PSECURITY_DESCRIPTOR descriptor,
                                         SECURITY_DESCRIPTOR_CONTROL mask,
                                         SECURITY_DESCRIPTOR_CONTROL bits) {
  const Lab::Call call("SetSecurityDescriptorControl");
  if (call.FailsByPlan()) return FALSE;
  LAB_SUPPORTS(descriptor != nullptr && mask == SE_DACL_PROTECTED && (bits & ~mask) == 0);
  // Both forms have the flags in the same place.
  SECURITY_DESCRIPTOR_CONTROL& control = Absolute(descriptor).Control;
  control = static_cast<SECURITY_DESCRIPTOR_CONTROL>((control & ~mask) | bits);
  return TRUE;
}

BOOL WINAPI MakeSelfRelativeSD(PSECURITY_DESCRIPTOR absolute, PSECURITY_DESCRIPTOR selfRelative,
                               LPDWORD bytes) {
  const Lab::Call call("MakeSelfRelativeSD");
  if (call.FailsByPlan()) return FALSE;
  LAB_SUPPORTS(absolute != nullptr && bytes != nullptr);
  const SECURITY_DESCRIPTOR& from = Absolute(absolute);
  LAB_SUPPORTS((from.Control & SE_SELF_RELATIVE) == 0);
  LAB_SUPPORTS(from.Owner == nullptr && from.Group == nullptr && from.Sacl == nullptr);
  const DWORD listBytes = from.Dacl == nullptr ? 0 : from.Dacl->AclSize;
  const DWORD needed = static_cast<DWORD>(sizeof(SECURITY_DESCRIPTOR_RELATIVE)) + listBytes;
  const DWORD room = *bytes;
  *bytes = needed;
  if (room < needed) return Lab::Fail(ERROR_INSUFFICIENT_BUFFER);
  LAB_SUPPORTS(selfRelative != nullptr);
  SECURITY_DESCRIPTOR_RELATIVE head = {};
  head.Revision = from.Revision;
  head.Control = static_cast<WORD>(from.Control | SE_SELF_RELATIVE);
  head.Dacl = listBytes == 0 ? 0 : sizeof head;
  std::memcpy(selfRelative, &head, sizeof head);
  if (listBytes != 0) {
    std::memcpy(static_cast<BYTE*>(selfRelative) + sizeof head, from.Dacl, listBytes);
  }
  return TRUE;
}

HANDLE WINAPI LocalFree(HANDLE memory) {
  const Lab::Call call("LocalFree");
  if (call.FailsByPlan()) return memory;
  ::operator delete(memory);
  return nullptr;
}
