// How the host runs a program file of the machine.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace Lab {

/// \param program  The program's file on the host.
/// \return What is to be started in its place, before the arguments: the program that the machine's
///         description names for files of this name ("programs"), or else the file itself if the
///         host can run it, whether or not it is marked as executable. Empty for any other file.
std::vector<std::string> HostCommand(const std::filesystem::path& program);

}  // namespace Lab
