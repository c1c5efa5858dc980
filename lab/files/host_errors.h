// What the host's refusals are called on Windows.
#pragma once

#include "minwindef.h"

namespace Lab {

/// \param hostError  A value of errno after a call on a file or folder.
/// \return The system error code for it.
DWORD ErrorOfHost(int hostError);

}  // namespace Lab
