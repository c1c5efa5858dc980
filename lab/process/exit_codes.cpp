#include "process/exit_codes.h"

#include <signal.h>
#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>

namespace Lab {
namespace {

std::uint32_t ExitCodeOfSignal(int number) {
  switch (number) {
    case SIGSEGV:
    case SIGBUS:
      return 0xC0000005;
    case SIGILL:
      return 0xC000001D;
    case SIGFPE:
      return 0xC0000094;
    case SIGABRT:
      return 3;
    case SIGINT:
    case SIGQUIT:
    case SIGHUP:
    case SIGTERM:
      return 0xC000013A;
    default:
      // As the task manager ends a process.
      return 1;
  }
}

/// \return The number that the process left for its exit code.
std::optional<std::uint32_t> TakeExitFile(pid_t process) {
  const char* machine = std::getenv("HALVARD_LAB");
  if (machine == nullptr) return std::nullopt;
  const auto file = std::filesystem::path(machine) / "run" / ("exit-" + std::to_string(process));
  std::int64_t code = 0;
  const bool told = static_cast<bool>(std::ifstream(file) >> code);
  std::error_code ignored;
  std::filesystem::remove(file, ignored);
  if (!told) return std::nullopt;
  return static_cast<std::uint32_t>(code);
}

}  // namespace

std::uint32_t ExitCodeOf(pid_t process, int waitStatus) {
  const std::optional<std::uint32_t> told = TakeExitFile(process);
  if (WIFSIGNALED(waitStatus)) return ExitCodeOfSignal(WTERMSIG(waitStatus));
  return told.value_or(static_cast<std::uint32_t>(WEXITSTATUS(waitStatus)));
}

}  // namespace Lab
