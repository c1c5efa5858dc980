#include <unistd.h>

#include <cstdlib>

#include "host.h"

namespace Hvctl {

std::vector<std::string> Arguments(int argc, char** argv) { return {argv + 1, argv + argc}; }

std::filesystem::path KnownAgentsFile() {
  if (const char* file = std::getenv("HVCTL_KNOWN_AGENTS")) return file;
  if (const char* config = std::getenv("XDG_CONFIG_HOME"); config != nullptr && *config != '\0') {
    return std::filesystem::path(config) / "hvctl" / "known_agents";
  }
  const char* home = std::getenv("HOME");
  return std::filesystem::path(home == nullptr ? "." : home) / ".config" / "hvctl" / "known_agents";
}

bool IsInteractive() { return isatty(STDIN_FILENO) == 1 && isatty(STDERR_FILENO) == 1; }

void PrepareConsole() {}

}  // namespace Hvctl
