// Who descends from this process.
#pragma once

#include <sys/types.h>

#include <vector>

namespace Lab {

/// \return All children of this process and their children, as the host lists them now. A program
///         that starts others meanwhile may be ahead of the list.
std::vector<pid_t> Descendants();

}  // namespace Lab
