// The program that conformance tests start as a child. Its first argument names what it does:
//
//   exit CODE              ends with that code, of 32 bits
//   hold FILE              writes its process id into the file and stays until it is ended
//   tree FILE OTHER        starts itself as "hold OTHER", away from its own group, then as above
//                          writes the file and ends with 0
//   report FILE ...        writes into the file, in lines of UTF-8: its arguments, "folder=" and
//                          the folder that it runs in, and its variables, as "variable NAME=value"
//
// A file is there only when it is complete.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace WindowsApi {

using Arguments = std::vector<std::filesystem::path>;

/// \param arguments  With the program's own path in front.
/// \return The exit code, or its last byte where the system takes no more.
int RunChild(const Arguments& arguments);

// Different for the two builds.

/// Starts a program that goes on by itself.
void StartDetached(const Arguments& arguments);
unsigned long OwnProcessId();
/// Sees to it that the process's parent is told all of the code. \return What to return from main.
int ExitCodeFor(std::uint32_t code);
/// \return All variables, as "NAME=value" in UTF-8.
std::vector<std::string> OwnVariables();

}  // namespace WindowsApi
