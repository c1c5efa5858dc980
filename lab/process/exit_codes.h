// Exit codes of 32 bits from a host whose processes have 8.
#pragma once

#include <sys/types.h>

#include <cstdint>

namespace Lab {

/// \param waitStatus  What waitpid(2) told of an ended process.
/// \return The exit code that Windows would show. A process that wants more than 8 bits writes the
///         number as decimal text into the file run/exit-PID of its machine (HALVARD_LAB) before it
///         ends; the file is removed here. The deaths that a signal brings have the codes of the
///         exceptions on Windows.
std::uint32_t ExitCodeOf(pid_t process, int waitStatus);

}  // namespace Lab
