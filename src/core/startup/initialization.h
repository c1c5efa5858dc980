// The first part of start-up: what the process needs before it looks at the machine.
#pragma once

#include "core/startup/start_result.h"
#include "core/user_input.h"

namespace Halvard {

/// Sets up console, language, command line, the hold on being the only instance, control events,
/// rights and properties, in this order.
/// \return Stop after help; Failed after an error, which has been reported; GoOn otherwise.
StartResult HVInit(int argc, wchar_t* argv[], UserInput& input);

}  // namespace Halvard
