// What a machine's disks and folders have beside their files.
#pragma once

#include <json/value.h>

#include <cstdint>
#include <map>
#include <string>

#include "machine/text.h"
#include "security/descriptor.h"

namespace Lab {

struct Disks {
  /// Free bytes by drive, as "C:". A drive that isn't there has what the host has.
  std::map<std::wstring, std::uint64_t, LessNoCase> freeBytes;
  /// Descriptors by folder, as "C:\" or "C:\a\b".
  std::map<std::wstring, SecurityDescriptor, LessNoCase> rights;
  /// FILE_ATTRIBUTE_... by folder, to be added to what the host's folder has.
  std::map<std::wstring, std::uint32_t, LessNoCase> attributes;
};

/// The description's members of these names, already tested against the schema.
/// \throw std::invalid_argument for a descriptor that the lab doesn't understand.
Disks ReadDisks(const Json::Value& disks, const Json::Value& folderRights,
                const Json::Value& folderAttributes);

}  // namespace Lab
