// Attributes of files and folders. Of those that Windows lets one set the lab keeps one, read-only:
// it is the lack of every write permission on the host.
#pragma once

#include <sys/stat.h>

#include <filesystem>

#include "minwindef.h"

namespace Lab {

bool IsReadOnly(const struct stat& status);

/// Permissions for a file with the given attributes; of these only FILE_ATTRIBUTE_READONLY counts.
mode_t HostMode(DWORD attributes);

/// \param place   Where the entry lies.
/// \param status  Its own status, of the link if it is one.
/// \return Attributes as GetFileAttributesW answers them.
DWORD AttributesOf(const std::filesystem::path& place, const struct stat& status);

}  // namespace Lab
