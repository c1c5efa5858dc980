#include "files/rights.h"

#include <sys/xattr.h>

#include <cstdint>
#include <vector>

#include "machine/call.h"
#include "machine/machine.h"
#include "machine/text.h"
#include "security/inheritance.h"
#include "security/sddl.h"

namespace Lab {
namespace {

constexpr char kAttribute[] = "user.lab.accesslist";

/// What every folder of a user's profile hands on to its files.
std::vector<AccessEntry> InheritedEntries() {
  constexpr std::uint32_t kFullAccess = 0x1F01FF;
  return {{true, kInherited, kFullAccess, kSystemAccount},
          {true, kInherited, kFullAccess, kAdministratorsGroup},
          {true, kInherited, kFullAccess, TheMachine().Describe().userSid}};
}

/// \return The entries with the rights of files in place of generic ones, as text.
std::string TextOf(std::vector<AccessEntry> entries) {
  for (AccessEntry& entry : entries) entry.mask = MapFileRights(entry.mask);
  return ToUtf8(EntriesText(entries));
}

}  // namespace

std::string AccessListOfNewFile(const void* descriptor) {
  if (descriptor == nullptr) return "D:AI" + TextOf(InheritedEntries());
  const SecurityDescriptor own = ReadSelfRelative(descriptor);
  LAB_SUPPORTS(own.owner.empty() && own.group.empty() && own.list);
  if (own.isProtected) return "D:P" + TextOf(*own.list);
  return "D:AI" + TextOf(*own.list) + TextOf(InheritedEntries());
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
