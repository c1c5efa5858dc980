#include "security/access_check.h"

#include <algorithm>

namespace Lab {
namespace {

constexpr std::uint32_t kEverything = 0x1FFFFF;
/// Reading and writing the list itself.
constexpr std::uint32_t kOwnersOwn = 0x60000;

bool Counts(const AccessEntry& entry) { return (entry.flags & kInheritOnly) == 0; }

}  // namespace

std::uint32_t GrantedRights(const SecurityDescriptor& descriptor, const std::wstring& sid) {
  if (!descriptor.list) return kEverything;
  const bool isOwner = descriptor.owner == sid;
  const bool ownerIsListed = std::any_of(
      descriptor.list->begin(), descriptor.list->end(),
      [](const AccessEntry& entry) { return Counts(entry) && entry.sid == kOwnerRights; });
  std::uint32_t granted = isOwner && !ownerIsListed ? kOwnersOwn : 0;
  std::uint32_t denied = 0;
  // The first entry that speaks of a right decides.
  for (const AccessEntry& entry : *descriptor.list) {
    if (!Counts(entry) || (entry.sid != sid && !(isOwner && entry.sid == kOwnerRights))) continue;
    if (entry.allows) {
      granted |= entry.mask & ~denied;
    } else {
      denied |= entry.mask & ~granted;
    }
  }
  return granted;
}

}  // namespace Lab
