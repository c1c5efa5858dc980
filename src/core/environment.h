// Switches that the agent's environment holds.
#pragma once

namespace Halvard {

/// \return True when the variable exists in any form, also with an empty value.
bool EnvironmentVariableExists(const wchar_t* name);

/// \return True when the variable exists and its value isn't empty.
bool EnvironmentVariableHoldsValue(const wchar_t* name);

}  // namespace Halvard
