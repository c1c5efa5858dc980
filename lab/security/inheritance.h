// What a new file or folder gets of the access list of the folder around it.
#pragma once

#include <string>
#include <vector>

#include "security/descriptor.h"

namespace Lab {

/// Who makes an object, and of which kind.
struct Creation {
  bool isFolder = false;
  std::wstring owner;
  std::wstring group;
  /// What the object gets when nothing is handed on to its kind.
  std::vector<AccessEntry> defaultList;
};

/// \return The rights of files in place of generic ones; the rest of the mask stays.
std::uint32_t MapFileRights(std::uint32_t mask);

/// \return The descriptor of an object that is made in a folder and brings none of its own. The
///         entries aren't marked as inherited.
SecurityDescriptor DescriptorOfNewObject(const SecurityDescriptor& parent,
                                         const Creation& creation);

}  // namespace Lab
