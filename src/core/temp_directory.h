// Where the agent keeps what it writes beside the products.
#pragma once

#include <string>

namespace Halvard {

/// \return The folder of the log, of the status file and of the runner's files, with a trailing
///         backslash; empty when it can't be told.
///
/// A terminal server gives each session a folder of its own below the user's. It is left out, so
/// that all sessions see one place: a last folder whose name ends with the session's number goes.
std::wstring GetTempDirectory();

}  // namespace Halvard
