// Whether a zip file is whole, as far as its own directory tells.
#pragma once

#include <filesystem>
#include <string>

namespace Hvctl {

/// Looks at the directory at the end of a zip file, of any size, and at nothing else: it finds a
/// copy that stops early, and not one with other bytes in it.
/// \return What is wrong with the file; empty when it is there, whole and not empty.
std::string ZipProblem(const std::filesystem::path& file);

}  // namespace Hvctl
