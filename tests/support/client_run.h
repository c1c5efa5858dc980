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
/// \param input      What standard input holds.
/// \param variables  Of its environment, as "NAME=value".
ClientRun RunClient(const std::vector<std::wstring>& arguments, const std::string& input = {},
                    const std::vector<std::string>& variables = {});

}  // namespace Halvard::Testing
