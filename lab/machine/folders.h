// What a machine's folders have beside their files.
#pragma once

#include <json/value.h>

#include <cstdint>
#include <map>
#include <string>

#include "machine/text.h"
#include "security/descriptor.h"

namespace Lab {

struct Folders {
  /// Descriptors by folder, as "C:\" or "C:\a\b".
  std::map<std::wstring, SecurityDescriptor, LessNoCase> rights;
  /// FILE_ATTRIBUTE_... by folder, to be added to what the host's folder has.
  std::map<std::wstring, std::uint32_t, LessNoCase> attributes;
};

/// The description's members of these names, already tested against the schema.
/// \throw std::invalid_argument for a descriptor that the lab doesn't understand.
Folders ReadFolders(const Json::Value& folderRights, const Json::Value& folderAttributes);

}  // namespace Lab
