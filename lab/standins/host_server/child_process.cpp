#include "standins/host_server/child_process.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <thread>

namespace Lab {

pid_t StartChild(const std::vector<std::string>& command, const std::filesystem::path& output) {
  std::vector<char*> arguments;
  for (const std::string& argument : command) {
    arguments.push_back(const_cast<char*>(argument.c_str()));
  }
  arguments.push_back(nullptr);
  const pid_t parent = getpid();
  const pid_t child = fork();
  if (child != 0) return child;
  // A parent that is killed takes the program along.
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (getppid() != parent) _exit(127);
  const int file = open(output.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  const int nothing = open("/dev/null", O_RDONLY | O_CLOEXEC);
  if (dup2(nothing, 0) < 0 || dup2(file, 1) < 0 || dup2(file, 2) < 0) _exit(127);
  execv(arguments.front(), arguments.data());
  _exit(127);
}

bool AwaitReady(pid_t& process, const std::function<bool()>& isReady) {
  while (waitpid(process, nullptr, WNOHANG) == 0) {
    if (isReady()) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  process = -1;
  return false;
}

void EndChild(pid_t& process) {
  if (process <= 0) return;
  kill(process, SIGKILL);
  waitpid(process, nullptr, 0);
  process = -1;
}

void RunChild(const std::vector<std::string>& command, const std::filesystem::path& output) {
  const pid_t child = StartChild(command, output);
  int status = 0;
  if (child > 0 && waitpid(child, &status, 0) == child && status == 0) return;
  std::ifstream in(output);
  throw std::runtime_error(command.front() + ": " +
                           std::string(std::istreambuf_iterator<char>(in), {}));
}

}  // namespace Lab
