#include "support/machine_processes.h"

#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <chrono>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <thread>

#include "support/file_bytes.h"

namespace Lab {
namespace {

namespace fs = std::filesystem;

bool HasVariable(const fs::path& process, const std::string& variable) {
  return (std::string(1, '\0') + FileBytes(process / "environ")).find('\0' + variable + '\0') !=
         std::string::npos;
}

/// The keeper of a child has the child's command line behind its own name.
bool IsRunner(pid_t process) {
  const std::string line = FileBytes(fs::path("/proc") / std::to_string(process) / "cmdline");
  const std::string program = fs::path(line.substr(0, line.find('\0'))).filename();
  return program != "lab-keeper" && line.find("UpgradeRunner.py") != std::string::npos;
}

/// Looks again and again until there is an answer; throws after a minute.
template <typename Look>
auto Await(const Look& look, const char* complaint) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(1);
  while (std::chrono::steady_clock::now() < end) {
    if (const auto found = look()) return found;
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  throw std::runtime_error(complaint);
}

}  // namespace

std::vector<pid_t> ProcessesOf(const Instance& machine) {
  const std::string variable = "HALVARD_LAB=" + machine.Folder().string();
  std::vector<pid_t> found;
  for (const auto& entry : fs::directory_iterator("/proc")) {
    const std::string name = entry.path().filename().string();
    if (!std::ranges::all_of(name, [](unsigned char c) { return std::isdigit(c) != 0; })) continue;
    const pid_t process = std::stoi(name);
    if (process != getpid() && HasVariable(entry.path(), variable)) found.push_back(process);
  }
  return found;
}

pid_t AwaitRunner(const Instance& machine) {
  const auto look = [&] {
    const std::vector<pid_t> processes = ProcessesOf(machine);
    const auto runner = std::ranges::find_if(processes, IsRunner);
    return runner == processes.end() ? pid_t{0} : *runner;
  };
  return Await(look, "No upgrade runner has started.");
}

void AwaitNoProcessOf(const Instance& machine) {
  const auto look = [&] { return ProcessesOf(machine).empty(); };
  (void)Await(look, "A process of the machine doesn't end.");
}

void EndProcessesOf(const Instance& machine) {
  const auto end = [&] {
    const std::vector<pid_t> processes = ProcessesOf(machine);
    for (const pid_t process : processes) kill(process, SIGKILL);
    return processes.empty();
  };
  (void)Await(end, "A process of the machine doesn't end.");
}

}  // namespace Lab
