// The shell as an object: folders, what is in them, and zip files to copy into.
#pragma once

#include "unknwn.h"

namespace Lab {

/// \return The shell (IShellDispatch), with one reference.
IUnknown* MakeShell();

}  // namespace Lab
