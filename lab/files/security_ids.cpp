#include "files/security_ids.h"

#include <cstring>

namespace Lab {

std::size_t SidBytes(std::uint8_t subAuthorities) {
  return offsetof(SID, SubAuthority) + subAuthorities * sizeof(std::uint32_t);
}

bool IsValidSid(const SID& sid) {
  return sid.Revision == SID_REVISION && sid.SubAuthorityCount <= SID_MAX_SUB_AUTHORITIES;
}

std::wstring SidText(const void* sid) {
  SID head = {};
  std::memcpy(&head, sid, offsetof(SID, SubAuthority));
  std::uint64_t authority = 0;
  for (const std::uint8_t byte : head.IdentifierAuthority.Value) authority = authority << 8 | byte;
  std::wstring text = L"S-1-" + std::to_wstring(authority);
  const auto* subAuthority = static_cast<const std::uint8_t*>(sid) + offsetof(SID, SubAuthority);
  for (int i = 0; i < head.SubAuthorityCount; ++i, subAuthority += sizeof(std::uint32_t)) {
    std::uint32_t value = 0;
    std::memcpy(&value, subAuthority, sizeof value);
    text += L'-' + std::to_wstring(value);
  }
  return text;
}

}  // namespace Lab
