// Functions that no header declares: programs look them up by name.
#pragma once

#include <string_view>

#include "libloaderapi.h"

namespace Lab {

/// \param module  Its file name, in any case.
/// \return Null when the module has no such function.
FARPROC FindFunction(std::wstring_view module, std::string_view name);

}  // namespace Lab
