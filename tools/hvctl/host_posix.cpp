#include <termios.h>
#include <unistd.h>

#include <cstdlib>
#include <iostream>

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

bool ShowsAtTerminal() { return isatty(STDOUT_FILENO) == 1; }

std::optional<std::string> EnvironmentVariable(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? std::nullopt : std::optional<std::string>(value);
}

std::string AskHidden(const std::string& prompt) {
  termios shown{};
  tcgetattr(STDIN_FILENO, &shown);
  termios hidden = shown;
  hidden.c_lflag &= ~static_cast<tcflag_t>(ECHO);
  // The echo is off before the prompt shows, so that nothing typed at once is seen.
  tcsetattr(STDIN_FILENO, TCSAFLUSH, &hidden);
  std::cerr << prompt << std::flush;
  std::string line;
  std::getline(std::cin, line);
  tcsetattr(STDIN_FILENO, TCSAFLUSH, &shown);
  std::cerr << '\n';
  return line;
}

void PrepareConsole() {}

}  // namespace Hvctl
