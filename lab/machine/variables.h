// Environment variables of the machine.
#pragma once

#include <map>
#include <string>
#include <string_view>

#include "machine/text.h"

namespace Lab {

/// Values by name; names are told apart without regard to case.
using Variables = std::map<std::wstring, std::wstring, LessNoCase>;

/// \return The text with each %NAME% of a known variable in place; unknown ones stay as they are.
std::wstring ExpandVariables(std::wstring_view text, const Variables& variables);

}  // namespace Lab
