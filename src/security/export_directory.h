// Whether the source's data can be exported to the chosen folder.
#pragma once

namespace Halvard::Security {

/// Looks at the folder EXPORT_DIR, making it where it doesn't exist: administrators need their
/// rights to what will be created there, and the disk needs EXPORT_DISK_REQ_SIZE mebibytes. What is
/// free goes into EXPORT_DISK_FREE_SIZE, in mebibytes too.
/// \return False when the folder won't do. The reason is in the log, and on the console unless the
///         folder couldn't be made.
bool ValidateExportDir();

}  // namespace Halvard::Security
