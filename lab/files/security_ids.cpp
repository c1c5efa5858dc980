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

std::vector<std::uint8_t> SidFromText(const std::wstring& text) {
  std::vector<std::uint64_t> numbers;
  for (std::size_t dash = text.find(L'-'); dash != std::wstring::npos;
       dash = text.find(L'-', dash + 1)) {
    numbers.push_back(std::stoull(text.substr(dash + 1)));
  }
  // Revision and authority come first.
  const auto count = static_cast<std::uint8_t>(numbers.size() - 2);
  std::vector<std::uint8_t> bytes(SidBytes(count));
  bytes[0] = static_cast<std::uint8_t>(numbers[0]);
  bytes[1] = count;
  for (int i = 0; i < 6; ++i) {
    bytes[static_cast<std::size_t>(7 - i)] = static_cast<std::uint8_t>(numbers[1] >> (8 * i));
  }
  for (std::size_t i = 0; i < count; ++i) {
    const auto value = static_cast<std::uint32_t>(numbers[i + 2]);
    std::memcpy(&bytes[offsetof(SID, SubAuthority) + i * sizeof value], &value, sizeof value);
  }
  return bytes;
}

}  // namespace Lab
