// Zip files by what every machine has: the shell's compressed folders. Failures are logged here.
#pragma once

#include <string>

namespace Halvard::Transfer {

/// Makes a zip file without entries, 22 bytes long.
/// \param path  Nothing may be there yet.
bool CreateEmptyZipFile(const std::wstring& path);

/// Copies a folder into a zip file. Blocks until the copy is believed to be over, three hours at
/// the most.
/// \param sourceDirectory  Without a folder that is empty: the shell takes none into a zip.
/// \param zipFile          As CreateEmptyZipFile has made it.
/// \param includeFolder    True: the zip gets the folder itself, as its only top-level entry.
///                         False: it gets what is in the folder.
/// \return True when the content is believed to be complete. The shell tells nothing of its end or
///         of a failure, so who depends on the zip has to test it.
bool ZipDirectory(const std::wstring& sourceDirectory, const std::wstring& zipFile,
                  bool includeFolder);

}  // namespace Halvard::Transfer
