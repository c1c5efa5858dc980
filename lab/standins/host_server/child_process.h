// Programs of the host that a stand-in runs.
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace Lab {

/// Starts a program with its output in a file. It ends with the thread that started it.
/// \param command  The program's absolute path and its arguments.
/// \return The process, for its owner to wait for; one that couldn't start the program ends with
///         exit code 127.
pid_t StartChild(const std::vector<std::string>& command, const std::filesystem::path& output);

/// Waits until a server that was started is ready, or has ended instead.
/// \param process  As StartChild gave it; -1 behind an end.
/// \param isReady  Asked again and again.
/// \return True when it is ready.
bool AwaitReady(pid_t& process, const std::function<bool()>& isReady);

/// Kills a program and waits for its end.
/// \param process  As StartChild gave it, -1 behind it. Of one below 1 nothing is done.
void EndChild(pid_t& process);

/// Runs a program to its end.
/// \throw std::runtime_error with the program's output when it doesn't end with exit code 0.
void RunChild(const std::vector<std::string>& command, const std::filesystem::path& output);

}  // namespace Lab
