#include "security/inheritance.h"

namespace Lab {
namespace {

constexpr std::uint32_t kGenericRead = 0x80000000;
constexpr std::uint32_t kGenericWrite = 0x40000000;
constexpr std::uint32_t kGenericExecute = 0x20000000;
constexpr std::uint32_t kGenericAll = 0x10000000;
constexpr std::uint32_t kGeneric = 0xF0000000;

/// The entry as it counts for the object itself.
AccessEntry Effective(AccessEntry entry, const Creation& creation) {
  entry.mask = MapFileRights(entry.mask);
  if (entry.sid == kCreatorOwner) entry.sid = creation.owner;
  if (entry.sid == kCreatorGroup) entry.sid = creation.group;
  return entry;
}

/// Whether handing the entry on again has to begin with what it is now.
bool ChangesWhenItCounts(const AccessEntry& entry) {
  return (entry.mask & kGeneric) != 0 || entry.sid == kCreatorOwner || entry.sid == kCreatorGroup;
}

void HandOnToFile(AccessEntry entry, const Creation& creation, std::vector<AccessEntry>& list) {
  if ((entry.flags & kToFiles) == 0) return;
  entry.flags = 0;
  list.push_back(Effective(entry, creation));
}

void HandOnToFolder(AccessEntry entry, const Creation& creation, std::vector<AccessEntry>& list) {
  const bool counts = (entry.flags & kToFolders) != 0;
  const bool goesOn =
      (entry.flags & kToOneLevel) == 0 && (entry.flags & (kToFiles | kToFolders)) != 0;
  entry.flags &= kToFiles | kToFolders;
  const bool isSplit = counts && goesOn && ChangesWhenItCounts(entry);
  if (counts) {
    AccessEntry own = Effective(entry, creation);
    if (isSplit || !goesOn) own.flags = 0;
    list.push_back(own);
  }
  if (goesOn && (isSplit || !counts)) {
    entry.flags |= kInheritOnly;
    list.push_back(entry);
  }
}

}  // namespace

std::uint32_t MapFileRights(std::uint32_t mask) {
  std::uint32_t mapped = mask & ~kGeneric;
  if ((mask & kGenericRead) != 0) mapped |= 0x120089;
  if ((mask & kGenericWrite) != 0) mapped |= 0x120116;
  if ((mask & kGenericExecute) != 0) mapped |= 0x1200A0;
  if ((mask & kGenericAll) != 0) mapped |= 0x1F01FF;
  return mapped;
}

SecurityDescriptor DescriptorOfNewObject(const SecurityDescriptor& parent,
                                         const Creation& creation) {
  std::vector<AccessEntry> list;
  for (const AccessEntry& entry : parent.list.value_or(std::vector<AccessEntry>())) {
    if (creation.isFolder) {
      HandOnToFolder(entry, creation, list);
    } else {
      HandOnToFile(entry, creation, list);
    }
  }
  if (list.empty()) {
    for (const AccessEntry& entry : creation.defaultList)
      list.push_back(Effective(entry, creation));
  }
  return {creation.owner, creation.group, list, false};
}

}  // namespace Lab
