// The agent's command line.
#pragma once

#include "core/startup/start_result.h"
#include "core/user_input.h"

namespace Halvard {

/// Reads the options into \p input. Without any argument nothing is read: the operator will be
/// asked. Help, and an error in the operator's language, go to the console.
/// \return Stop after help, Failed after an error, GoOn otherwise.
StartResult ParseCommandLineOptions(int argc, wchar_t* argv[], UserInput& input);

}  // namespace Halvard
