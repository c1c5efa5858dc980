#include "files/rights.h"

#include <sys/xattr.h>

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "accctrl.h"
#include "files/security_ids.h"
#include "machine/call.h"
#include "machine/machine.h"
#include "machine/text.h"

namespace Lab {
namespace {

constexpr char kAttribute[] = "user.lab.accesslist";
constexpr DWORD kFullAccess = 0x1F01FF;

/// \return The identifier, or the two letters that stand for it.
std::string TrusteeOf(const std::wstring& sid) {
  if (sid == L"S-1-5-32-544") return "BA";
  if (sid == L"S-1-5-18") return "SY";
  return ToUtf8(sid);
}

std::string Rights(DWORD mask) {
  if ((mask & GENERIC_ALL) != 0 || mask == kFullAccess) return "FA";
  LAB_SUPPORTS((mask & 0xF0000000u) == 0);
  char text[16] = {};
  (void)std::snprintf(text, sizeof text, "0x%x", mask);
  return text;
}

std::string InheritedEntries() {
  return "(A;ID;FA;;;SY)(A;ID;FA;;;BA)(A;ID;FA;;;" + TrusteeOf(TheMachine().Describe().userSid) +
         ")";
}

std::string EntriesOf(const BYTE* list) {
  ACL head = {};
  std::memcpy(&head, list, sizeof head);
  if (head.AceCount == 0) return {};
  LAB_SUPPORTS(head.AceCount == 1);
  ACCESS_ALLOWED_ACE entry = {};
  std::memcpy(&entry, list + sizeof head, offsetof(ACCESS_ALLOWED_ACE, SidStart));
  LAB_SUPPORTS(entry.Header.AceType == ACCESS_ALLOWED_ACE_TYPE && entry.Header.AceFlags == 0);
  const BYTE* const sid = list + sizeof head + offsetof(ACCESS_ALLOWED_ACE, SidStart);
  return "(A;;" + Rights(entry.Mask) + ";;;" + TrusteeOf(SidText(sid)) + ")";
}

}  // namespace

bool IsElevatedAdministrator() {
  const auto& groups = TheMachine().Describe().groups;
  return std::any_of(groups.begin(), groups.end(), [](const Group& group) {
    return group.sid == L"S-1-5-32-544" && !group.denyOnly;
  });
}

std::string AccessListOfNewFile(const void* descriptor) {
  if (descriptor == nullptr) return "D:AI" + InheritedEntries();
  SECURITY_DESCRIPTOR_RELATIVE head = {};
  std::memcpy(&head, descriptor, sizeof head);
  LAB_SUPPORTS((head.Control & SE_SELF_RELATIVE) != 0 && (head.Control & SE_DACL_PRESENT) != 0);
  LAB_SUPPORTS(head.Owner == 0 && head.Group == 0 && head.Sacl == 0 && head.Dacl != 0);
  const std::string own = EntriesOf(static_cast<const BYTE*>(descriptor) + head.Dacl);
  if ((head.Control & SE_DACL_PROTECTED) != 0) return "D:P" + own;
  return "D:AI" + own + InheritedEntries();
}

void KeepAccessList(int descriptor, const std::string& list) {
  (void)fsetxattr(descriptor, kAttribute, list.data(), list.size(), 0);
}

std::string AccessListOf(const std::filesystem::path& place) {
  char list[512] = {};
  const ssize_t size = getxattr(place.c_str(), kAttribute, list, sizeof list);
  return size < 0 ? AccessListOfNewFile(nullptr)
                  : std::string(list, static_cast<std::size_t>(size));
}

}  // namespace Lab
