// Descriptors of folders and of objects to come, and masks of rights.
#include <cstring>
#include <new>
#include <vector>

#include "api/failure.h"
#include "errhandlingapi.h"
#include "files/security_ids.h"
#include "machine/call.h"
#include "machine/handles.h"
#include "machine/paths.h"
#include "process/token.h"
#include "security/folder_rights.h"
#include "securitybaseapi.h"
#include "winerror.h"

namespace {

using Lab::Fail;

/// Puts a block where the caller wants it, if there is room for it.
BOOL DeliverBlock(const std::vector<std::uint8_t>& block, PVOID buffer, DWORD room, PDWORD needed) {
  *needed = static_cast<DWORD>(block.size());
  if (room < block.size()) return Fail(ERROR_INSUFFICIENT_BUFFER);
  LAB_SUPPORTS(buffer != nullptr);
  std::memcpy(buffer, block.data(), block.size());
  return TRUE;
}

bool IsMappingOfFiles(const GENERIC_MAPPING& mapping) {
  return mapping.GenericRead == FILE_GENERIC_READ && mapping.GenericWrite == FILE_GENERIC_WRITE &&
         mapping.GenericExecute == FILE_GENERIC_EXECUTE && mapping.GenericAll == FILE_ALL_ACCESS;
}

}  // namespace

BOOL WINAPI GetFileSecurityW(LPCWSTR name, SECURITY_INFORMATION wanted,
                             PSECURITY_DESCRIPTOR descriptor, DWORD bytes, PDWORD needed) {
  LAB_SUPPORTS(name != nullptr && needed != nullptr);
  const Lab::Call call("GetFileSecurityW", name);
  if (call.FailsByPlan()) return FALSE;
  LAB_SUPPORTS(wanted == (OWNER_SECURITY_INFORMATION | GROUP_SECURITY_INFORMATION |
                          DACL_SECURITY_INFORMATION));
  const Lab::FoundPath found = Lab::FindPath(name);
  if (found.error != ERROR_SUCCESS) return Fail(found.error);
  // Files have lists of another kind here, which nobody has asked for yet.
  LAB_SUPPORTS(std::filesystem::is_directory(found.host));
  return DeliverBlock(Lab::SelfRelativeForm(Lab::RightsOfFolder(Lab::FullPath(name))), descriptor,
                      bytes, needed);
}

BOOL WINAPI CreatePrivateObjectSecurity(PSECURITY_DESCRIPTOR parent, PSECURITY_DESCRIPTOR creator,
                                        PSECURITY_DESCRIPTOR* made, BOOL isContainer, HANDLE token,
                                        PGENERIC_MAPPING mapping) {
  const Lab::Call call("CreatePrivateObjectSecurity");
  if (call.FailsByPlan()) return FALSE;
  LAB_SUPPORTS(parent != nullptr && creator == nullptr && made != nullptr);
  LAB_SUPPORTS(mapping != nullptr && IsMappingOfFiles(*mapping));
  if (Lab::Handles().FindAs<Lab::ThreadToken>(token) == nullptr) return Fail(ERROR_INVALID_HANDLE);
  const std::vector<std::uint8_t> block = Lab::SelfRelativeForm(Lab::DescriptorOfNewObject(
      Lab::ReadSelfRelative(parent), Lab::CreationByUser(isContainer != FALSE)));
  *made = ::operator new(block.size());
  std::memcpy(*made, block.data(), block.size());
  return TRUE;
}

BOOL WINAPI DestroyPrivateObjectSecurity(PSECURITY_DESCRIPTOR* descriptor) {
  const Lab::Call call("DestroyPrivateObjectSecurity");
  if (call.FailsByPlan()) return FALSE;
  LAB_SUPPORTS(descriptor != nullptr && *descriptor != nullptr);
  ::operator delete(*descriptor);
  *descriptor = nullptr;
  return TRUE;
}

BOOL WINAPI CreateWellKnownSid(WELL_KNOWN_SID_TYPE type, PSID domain, PSID sid, DWORD* bytes) {
  const Lab::Call call("CreateWellKnownSid");
  if (call.FailsByPlan()) return FALSE;
  LAB_SUPPORTS(type == WinBuiltinAdministratorsSid && domain == nullptr && bytes != nullptr);
  return DeliverBlock(Lab::SidFromText(Lab::kAdministratorsGroup), sid, *bytes, bytes);
}

BOOL WINAPI AreAllAccessesGranted(DWORD granted, DWORD wanted) {
  const Lab::Call call("AreAllAccessesGranted");
  LAB_SUPPORTS(!call.PlannedError());
  return (granted & wanted) == wanted;
}
