// What people, scripts and stand-ins do to the services of an instance.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace Lab {

/// Prints a line for each service: name, state and account.
/// \return The exit code of the program, as for the others here.
/// \throw MachineError, std::filesystem::filesystem_error
int ListServices(const std::filesystem::path& instance);

/// Starts services one by one, each when the one before runs, and prints a line for each.
/// \return 1 after the first that doesn't come up within 30 seconds of its last progress.
int StartServices(const std::filesystem::path& instance, const std::vector<std::string>& names);

/// Stops services in the given order.
int StopServices(const std::filesystem::path& instance, const std::vector<std::string>& names);

}  // namespace Lab
