// Passwords: from a file, a variable or a person, and never from the command line, which every
// process of the machine can read.
#pragma once

#include <istream>
#include <string>

#include "operation_commands.h"

namespace Hvctl {

/// \param file         A file whose first line is the secret; "-" for the next line of \p input.
///                     Without one the parameter's variable counts, and then a person is asked.
/// \param interactive  Whether a person can be asked.
/// Throws Failure (kUsage) when there is no way to get it, or the file can't be read.
std::string GetSecret(const Parameter& parameter, const std::string& file, std::istream& input,
                      bool interactive);

}  // namespace Hvctl
