// What the user of the machine may do that others mayn't.
#pragma once

namespace Lab {

/// \return True when the agent runs with the rights of the Administrators group: it may make
///         symbolic links and files in the root of a drive.
bool IsElevatedAdministrator();

}  // namespace Lab
