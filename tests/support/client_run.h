// hvctl as a process of its own.
#pragma once

#include <string>
#include <vector>

namespace Halvard::Testing {

struct ClientRun {
  int exitCode = 0;
  std::wstring output;
  std::wstring errors;
};

/// Runs the client to its end, with nobody at a terminal.
/// \param arguments  Without the program's name.
ClientRun RunClient(const std::vector<std::wstring>& arguments);

}  // namespace Halvard::Testing
