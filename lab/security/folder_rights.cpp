#include "security/folder_rights.h"

#include "machine/machine.h"
#include "security/sddl.h"

namespace Lab {
namespace {

constexpr wchar_t kRootOfADrive[] =
    L"O:BAG:SYD:(A;OICI;FA;;;SY)(A;OICI;FA;;;BA)(A;OICI;0x1200a9;;;BU)(A;CI;0x4;;;BU)"
    L"(A;CIIO;0x2;;;BU)(A;OICIIO;GA;;;CO)";

std::wstring DefaultOwner(const Description& machine) {
  if (!machine.defaultOwner.empty()) return machine.defaultOwner;
  return machine.UserIsAdministrator() ? kAdministratorsGroup : machine.userSid;
}

/// The group of all users beside the user: the same identifier but for its last number.
std::wstring PrimaryGroup(const std::wstring& userSid) {
  return userSid.substr(0, userSid.rfind(L'-')) + L"-513";
}

SecurityDescriptor RightsBelow(const SecurityDescriptor& parent) {
  return DescriptorOfNewObject(parent, CreationByUser(true));
}

}  // namespace

Creation CreationByUser(bool isFolder) {
  const Description& machine = TheMachine().Describe();
  const std::wstring owner = DefaultOwner(machine);
  constexpr std::uint32_t kGenericAll = 0x10000000;
  return {isFolder,
          owner,
          PrimaryGroup(machine.userSid),
          {{true, 0, kGenericAll, owner}, {true, 0, kGenericAll, kSystemAccount}}};
}

SecurityDescriptor RightsOfFolder(const std::wstring& path) {
  const auto& described = TheMachine().Describe().folders.rights;
  SecurityDescriptor rights = ParseSddl(kRootOfADrive);
  const std::wstring full = path.ends_with(L'\\') ? path : path + L'\\';
  for (std::size_t end = full.find(L'\\'); end != std::wstring::npos;
       end = full.find(L'\\', end + 1)) {
    const bool isRoot = end == 2;
    if (!isRoot) rights = RightsBelow(rights);
    const auto found = described.find(full.substr(0, isRoot ? 3 : end));
    if (found != described.end()) rights = found->second;
  }
  return rights;
}

}  // namespace Lab
