// Making an administrative image: the files of a package in a folder, and the package beside them.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>

namespace Lab {

/// Unpacks a package. Files of the same names are replaced, names compare without case, and what
/// else lies in the folder stays.
/// \param target  Made with the folders above it.
/// \param room    Bytes that the machine's disk has left; nothing for as many as the host has.
/// \throw NoPackageError, and InstallError or std::filesystem::filesystem_error for what fails on
///        the way. What is unpacked by then stays; of what doesn't fit the room nothing is
///        unpacked.
/// \throw UnsupportedError for a package beyond what the lab's installer knows.
void MakeAdministrativeImage(const std::filesystem::path& packageFile,
                             const std::filesystem::path& target,
                             std::optional<std::uint64_t> room);

}  // namespace Lab
