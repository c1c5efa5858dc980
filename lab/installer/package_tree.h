// Where the files of a package go in an administrative image.
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>

#include "installer/package.h"

namespace Lab {

struct PackageFile {
  /// Below the image's root, with the names of the source side of the package's folders.
  std::filesystem::path path;
  std::uint64_t size = 0;
};

/// \return The files of all features but those of level 0, by their keys, which are their names in
///         the cabinets. None when the package's sequence for images has no step that copies files.
/// \throw InstallError for a package whose tables don't fit together, or one with names that lead
///        out of the image.
std::map<std::string, PackageFile> FilesOfImage(const Package& package);

/// \return True when the package's sequence for images has the step.
bool HasImageStep(const Package& package, const std::string& action);

}  // namespace Lab
