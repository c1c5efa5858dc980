// Writing zip files.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace Lab {

/// A file that goes into a zip.
struct ZipEntry {
  std::filesystem::path host;  ///< Where it lies on the host.
  std::string name;            ///< In the zip: UTF-8, parts divided by slashes.
};

/// Lists the files at any depth of a folder, sorted by name. A folder without a file below it
/// leaves no trace, and a link to a folder isn't followed. \param prefix  Goes before the names:
/// empty, or a folder's name with a slash behind it.
std::vector<ZipEntry> FilesBelow(const std::filesystem::path& folder, const std::string& prefix);

/// \return True for a file named .zip that begins as a zip does, an empty one too.
bool IsZip(const std::filesystem::path& host);

/// Writes a zip over the file, which nobody else may write or empty meanwhile. Entries that can't
/// be opened, since another program writes them, are left out. \return False when it couldn't be
/// written to its end; what went out stays.
bool WriteZip(const std::filesystem::path& zip, const std::vector<ZipEntry>& entries);

}  // namespace Lab
