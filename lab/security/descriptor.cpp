#include "security/descriptor.h"

#include <cstddef>
#include <cstring>

#include "accctrl.h"
#include "files/security_ids.h"
#include "machine/call.h"

namespace Lab {
namespace {

using Bytes = std::vector<std::uint8_t>;

template <typename Record>
void Append(Bytes& bytes, const Record& record, std::size_t size = sizeof(Record)) {
  const auto* const begin = reinterpret_cast<const std::uint8_t*>(&record);
  bytes.insert(bytes.end(), begin, begin + size);
}

template <typename Record>
Record ReadAt(const std::uint8_t* place, std::size_t size = sizeof(Record)) {
  Record record = {};
  std::memcpy(&record, place, size);
  return record;
}

constexpr std::size_t kEntryHead = offsetof(ACCESS_ALLOWED_ACE, SidStart);

void AppendEntry(Bytes& bytes, const AccessEntry& entry) {
  const Bytes sid = SidFromText(entry.sid);
  ACCESS_ALLOWED_ACE head = {};
  head.Header.AceType = entry.allows ? ACCESS_ALLOWED_ACE_TYPE : ACCESS_DENIED_ACE_TYPE;
  head.Header.AceFlags = entry.flags;
  head.Header.AceSize = static_cast<WORD>(kEntryHead + sid.size());
  head.Mask = entry.mask;
  Append(bytes, head, kEntryHead);
  bytes.insert(bytes.end(), sid.begin(), sid.end());
}

Bytes ListForm(const std::vector<AccessEntry>& entries) {
  Bytes body;
  for (const AccessEntry& entry : entries) AppendEntry(body, entry);
  Bytes list;
  Append(list, ACL{ACL_REVISION, 0, static_cast<WORD>(sizeof(ACL) + body.size()),
                   static_cast<WORD>(entries.size()), 0});
  list.insert(list.end(), body.begin(), body.end());
  return list;
}

std::vector<AccessEntry> ReadList(const std::uint8_t* place) {
  std::vector<AccessEntry> entries;
  const auto head = ReadAt<ACL>(place);
  place += sizeof(ACL);
  for (WORD i = 0; i < head.AceCount; ++i) {
    const auto entry = ReadAt<ACCESS_ALLOWED_ACE>(place, kEntryHead);
    LAB_SUPPORTS(entry.Header.AceType <= ACCESS_DENIED_ACE_TYPE);
    entries.push_back({entry.Header.AceType == ACCESS_ALLOWED_ACE_TYPE, entry.Header.AceFlags,
                       entry.Mask, SidText(place + kEntryHead)});
    place += entry.Header.AceSize;
  }
  return entries;
}

}  // namespace

std::vector<std::uint8_t> SelfRelativeForm(const SecurityDescriptor& descriptor) {
  SECURITY_DESCRIPTOR_RELATIVE head = {};
  Bytes parts;
  const auto add = [&](const Bytes& part) {
    const auto place = static_cast<DWORD>(sizeof head + parts.size());
    parts.insert(parts.end(), part.begin(), part.end());
    return place;
  };
  head.Revision = SECURITY_DESCRIPTOR_REVISION;
  head.Control = SE_SELF_RELATIVE | SE_DACL_PRESENT;
  if (descriptor.isProtected) head.Control |= SE_DACL_PROTECTED;
  if (!descriptor.owner.empty()) head.Owner = add(SidFromText(descriptor.owner));
  if (!descriptor.group.empty()) head.Group = add(SidFromText(descriptor.group));
  if (descriptor.list) head.Dacl = add(ListForm(*descriptor.list));
  Bytes block;
  Append(block, head);
  block.insert(block.end(), parts.begin(), parts.end());
  return block;
}

SecurityDescriptor ReadSelfRelative(const void* block) {
  const auto* const begin = static_cast<const std::uint8_t*>(block);
  const auto head = ReadAt<SECURITY_DESCRIPTOR_RELATIVE>(begin);
  LAB_SUPPORTS((head.Control & SE_SELF_RELATIVE) != 0 && head.Sacl == 0);
  SecurityDescriptor descriptor;
  if (head.Owner != 0) descriptor.owner = SidText(begin + head.Owner);
  if (head.Group != 0) descriptor.group = SidText(begin + head.Group);
  if (head.Dacl != 0) descriptor.list = ReadList(begin + head.Dacl);
  descriptor.isProtected = (head.Control & SE_DACL_PROTECTED) != 0;
  return descriptor;
}

}  // namespace Lab
