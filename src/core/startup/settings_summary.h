// The summary that the operator copies into the appliance's installer.
#pragma once

#include <string>

#include "core/user_input.h"

namespace Halvard {

/// A rule across the whole console, without a line end: the console wraps behind it by itself.
std::wstring RuleLine();

/// What stands before the text of a settings line.
inline constexpr wchar_t kIndent[] = L"   ";

/// Prints warnings, source, destination, settings and the steps of the migration.
void PrintSettingsAndSteps(const TumInfo& tumInfo);

}  // namespace Halvard
