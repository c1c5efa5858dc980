// Removing files and folders under the rules of sharing.
#pragma once

#include <filesystem>

#include "minwindef.h"

namespace Lab {

/// Removes the name of a file that nobody keeps from being deleted. Links go as links.
/// \param place   Where it lies.
/// \param forced  A read-only file goes too.
/// \return 0, or the system error code.
DWORD DeleteFileAt(const std::filesystem::path& place, bool forced);

/// Removes an empty folder or a link to a folder.
/// \return 0, or the system error code.
DWORD RemoveFolderAt(const std::filesystem::path& place, bool forced);

}  // namespace Lab
