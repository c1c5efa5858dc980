// What differs between the systems that hvctl runs on. Implemented once for each of them.
#pragma once

#include <filesystem>
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

/// Makes the console show UTF-8.
void PrepareConsole();

}  // namespace Hvctl
