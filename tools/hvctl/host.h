// What differs between the systems that hvctl runs on. Implemented once for each of them.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace Hvctl {

/// The program's arguments as UTF-8, without its own name.
std::vector<std::string> Arguments(int argc, char** argv);

/// Where the list of confirmed certificates lies. The file and its folder needn't exist.
/// The environment variable HVCTL_KNOWN_AGENTS names another file.
std::filesystem::path KnownAgentsFile();

/// True when a person sits at standard input and standard error.
bool IsInteractive();

/// True when standard output is a terminal.
bool ShowsAtTerminal();

/// The value of an environment variable as UTF-8; nothing when it isn't set.
std::optional<std::string> EnvironmentVariable(const char* name);

/// Shows \p prompt on standard error and reads a line that isn't shown, from the terminal at
/// standard input. UTF-8.
std::string AskHidden(const std::string& prompt);

/// Makes the console show UTF-8.
void PrepareConsole();

}  // namespace Hvctl
