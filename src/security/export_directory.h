// Whether the source's data can be exported to the chosen folder.
#pragma once

namespace Halvard::Security {

/// Asks whether administrators have the rights to the folder EXPORT_DIR that an export needs: to
/// read, write and delete what will be created in it, and to set its access lists.
/// \return False when they haven't, or when it can't be told. Logged here.
bool DirectoryPermissionCheck();

/// Looks at the folder EXPORT_DIR, making it where it doesn't exist: administrators need their
/// rights to what will be created there, and the disk needs EXPORT_DISK_REQ_SIZE mebibytes. What is
/// free goes into EXPORT_DISK_FREE_SIZE, in mebibytes too.
/// \return False when the folder won't do. The reason is in the log, and on the console unless the
///         folder couldn't be made.
bool ValidateExportDir();

}  // namespace Halvard::Security
