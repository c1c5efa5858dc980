// The logs as one file, for whoever looks into a migration.
#pragma once

#include <string>

namespace Halvard::Transfer {

/// Makes a zip of the runner's logs and of the agent's own as it is at this moment, without a
/// folder around them. Blocks as ZipDirectory does.
/// \param zipFile  Made anew if it exists.
/// \return False after a failure, which is logged.
bool CreateLogsZipBundle(const std::wstring& zipFile);

}  // namespace Halvard::Transfer
