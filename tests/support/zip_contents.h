// What is in a zip file, as other programs see it.
#pragma once

#include <filesystem>
#include <map>
#include <string>

namespace Halvard::Testing {

/// \return The bytes of the entries by their names (UTF-8), as Python reads them.
/// \throw std::runtime_error with what the tool said when Python or `unzip -t` finds a fault.
std::map<std::string, std::string> ReadZip(const std::filesystem::path& zip);

}  // namespace Halvard::Testing
