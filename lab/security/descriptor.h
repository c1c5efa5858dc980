// Security descriptors: who owns an object, and who may do what to it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Lab {

// Flags of an entry: to what it is handed on.
inline constexpr std::uint8_t kToFiles = 0x01;
inline constexpr std::uint8_t kToFolders = 0x02;
/// Handed on to the next level and no further.
inline constexpr std::uint8_t kToOneLevel = 0x04;
/// Handed on without counting for the object itself.
inline constexpr std::uint8_t kInheritOnly = 0x08;
inline constexpr std::uint8_t kInherited = 0x10;

// Identifiers that mean something other than themselves.
inline constexpr wchar_t kCreatorOwner[] = L"S-1-3-0";
inline constexpr wchar_t kCreatorGroup[] = L"S-1-3-1";
inline constexpr wchar_t kOwnerRights[] = L"S-1-3-4";

inline constexpr wchar_t kAdministratorsGroup[] = L"S-1-5-32-544";
inline constexpr wchar_t kSystemAccount[] = L"S-1-5-18";

/// One line of an access list.
struct AccessEntry {
  bool allows = true;
  std::uint8_t flags = 0;
  std::uint32_t mask = 0;
  std::wstring sid;

  friend bool operator==(const AccessEntry&, const AccessEntry&) = default;
};

struct SecurityDescriptor {
  std::wstring owner;  ///< SID; empty for none, as the group.
  std::wstring group;
  /// Nothing grants everything to everyone; an empty list nothing to anyone.
  std::optional<std::vector<AccessEntry>> list;
  bool isProtected = false;

  friend bool operator==(const SecurityDescriptor&, const SecurityDescriptor&) = default;
};

/// \return The self-relative form, one block.
std::vector<std::uint8_t> SelfRelativeForm(const SecurityDescriptor& descriptor);

/// \param block  Self-relative, with entries that allow or deny and nothing else.
SecurityDescriptor ReadSelfRelative(const void* block);

}  // namespace Lab
