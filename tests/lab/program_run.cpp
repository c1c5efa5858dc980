#include "program_run.h"

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>
#include <utility>

#include "support/argument_pointers.h"

namespace Lab {
namespace {

constexpr int kPatience = 60'000;

}  // namespace

ProgramRun::ProgramRun(const std::filesystem::path& instance, std::vector<std::string> arguments,
                       Streams streams) {
  const std::string program = LAB_PROGRAM;
  arguments.insert(arguments.begin(), program);
  std::vector<std::string> environment = {"HALVARD_LAB=" + instance.string()};
  if (streams == Streams::kTerminal) {
    StartInTerminal(program.c_str(), ArgumentPointers(arguments).data(),
                    ArgumentPointers(environment).data());
  } else {
    StartWithPipes(program.c_str(), ArgumentPointers(arguments).data(),
                   ArgumentPointers(environment).data());
  }
}

void ProgramRun::StartWithPipes(const char* program, char* const* arguments,
                                char* const* environment) {
  int input[2];
  int output[2];
  if (pipe2(input, O_CLOEXEC) != 0 || pipe2(output, O_CLOEXEC) != 0) {
    throw std::runtime_error("no pipes for a program");
  }
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, input[0], STDIN_FILENO);
  posix_spawn_file_actions_adddup2(&actions, output[1], STDOUT_FILENO);
  const int error = posix_spawn(&process_, program, &actions, nullptr, arguments, environment);
  posix_spawn_file_actions_destroy(&actions);
  close(input[0]);
  close(output[1]);
  input_ = input[1];
  output_ = output[0];
  if (error != 0) throw std::runtime_error("can't start " + std::string(program));
}

void ProgramRun::StartInTerminal(const char* program, char* const* arguments,
                                 char* const* environment) {
  const winsize size = {25, 80, 0, 0};
  process_ = forkpty(&output_, nullptr, nullptr, &size);
  if (process_ == 0) {
    execve(program, arguments, environment);
    _exit(127);
  }
  if (process_ < 0) throw std::runtime_error("no terminal for a program");
  fcntl(output_, F_SETFD, FD_CLOEXEC);
  input_ = fcntl(output_, F_DUPFD_CLOEXEC, 0);
}

ProgramRun::~ProgramRun() {
  if (process_ > 0) {
    kill(process_, SIGKILL);
    waitpid(process_, nullptr, 0);
  }
  CloseInput();
  close(output_);
}

bool ProgramRun::HasOutputWithin(int milliseconds) const {
  pollfd entry = {output_, POLLIN, 0};
  return poll(&entry, 1, milliseconds) == 1;
}

bool ProgramRun::ReadMore() {
  if (!HasOutputWithin(kPatience)) throw std::runtime_error("the program says nothing");
  char bytes[4096];
  const ssize_t count = read(output_, bytes, sizeof(bytes));
  // A terminal whose program has ended gives an error.
  if (count <= 0) return false;
  unread_.append(bytes, static_cast<std::size_t>(count));
  return true;
}

std::string ProgramRun::ReadLine() {
  while (unread_.find('\n') == std::string::npos) {
    if (!ReadMore()) throw std::runtime_error("the program ended with: " + unread_);
  }
  const std::size_t end = unread_.find('\n');
  std::string line = unread_.substr(0, end);
  unread_.erase(0, end + 1);
  if (line.ends_with('\r')) line.pop_back();
  return line;
}

std::optional<std::string> ProgramRun::ReadLineWithin(int milliseconds) {
  while (unread_.find('\n') == std::string::npos) {
    if (!HasOutputWithin(milliseconds) || !ReadMore()) return std::nullopt;
  }
  return ReadLine();
}

void ProgramRun::WriteUntilLine(const std::string& bytes, const std::string& ending) {
  constexpr int kStep = 100;
  for (int waited = 0; waited < kPatience; waited += kStep) {
    Write(bytes);
    while (const auto line = ReadLineWithin(kStep)) {
      if (line->ends_with(ending)) return;
    }
  }
  throw std::runtime_error("the program never said " + ending);
}

std::string ProgramRun::ReadAll() {
  while (ReadMore()) {
  }
  return std::exchange(unread_, {});
}

void ProgramRun::Write(const std::string& bytes) {
  if (write(input_, bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size())) {
    throw std::runtime_error("can't write to the program");
  }
}

void ProgramRun::CloseInput() {
  if (input_ >= 0) close(std::exchange(input_, -1));
}

void ProgramRun::Send(int signal) { kill(process_, signal); }

int ProgramRun::Wait() {
  int status = 0;
  while (waitpid(process_, &status, 0) < 0 && errno == EINTR) {
  }
  process_ = -1;
  return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

bool ProgramRun::TerminalIsCooked() const {
  termios settings = {};
  tcgetattr(output_, &settings);
  return (settings.c_lflag & (ICANON | ECHO)) == (ICANON | ECHO);
}

}  // namespace Lab
