// The records in which the system reports changes of a folder's entries.
#pragma once

#include <cstddef>
#include <string_view>

namespace Halvard::Runner {

/// \param records   FILE_NOTIFY_INFORMATION records as ReadDirectoryChangesW wrote them, at any
///                  alignment.
/// \param size      Their bytes.
/// \param fileName  Compared without regard to the case of A to Z.
/// \return True when one of them says that the file was added or modified, or got this name.
bool TellsOfFile(const void* records, std::size_t size, std::wstring_view fileName);

}  // namespace Halvard::Runner
