// The runner's input file as a test wants it, in place of the real one.
#pragma once

#include <string>

namespace Halvard::Runner {

/// Text of the file that the next launches write; when empty, making the file fails.
extern std::string gScriptedInput;

}  // namespace Halvard::Runner
