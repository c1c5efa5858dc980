// Programs of the host, for what Wine itself can't do.
#pragma once

#include <string>
#include <vector>

namespace Supplied {

/// Runs a program of the host to its end.
/// \param command  Absolute path and arguments, in UTF-8.
/// \return The exit code; -1 when it can't be run.
int RunOnHost(const std::vector<std::string>& command);

}  // namespace Supplied
