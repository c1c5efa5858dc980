#include "support/agent_run.h"

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <iterator>
#include <stdexcept>

#include "core/text.h"
#include "support/argument_pointers.h"
#include "support/file_bytes.h"

namespace Halvard::Testing {
namespace {

constexpr int kPatienceMilliseconds = 60'000;

}  // namespace

std::filesystem::path AgentProgram() { return HALVARD_PROGRAM; }
std::filesystem::path ScriptedAgentProgram() { return HALVARD_SCRIPTED_PROGRAM; }

/// What a new process becomes, complete before the process exists: between fork and exec nothing
/// may be allocated.
struct AgentProcess::Image {
  char* const* arguments;
  char* const* environment;
  int errors;

  [[noreturn]] void Run() const {
    dup2(errors, STDERR_FILENO);
    execve(arguments[0], arguments, environment);
    _exit(127);
  }
};

AgentProcess::AgentProcess(const Lab::Instance& machine, const std::vector<std::wstring>& arguments,
                           Input input, const std::filesystem::path& program)
    : machine_(machine), errorFile_(machine.Folder().parent_path() / "stderr.txt") {
  std::vector<std::string> command{program.string()};
  for (const std::wstring& argument : arguments) command.push_back(WideToUtf8(argument));
  std::vector<std::string> environment{"HALVARD_LAB=" + machine.Folder().string()};
  const std::vector<char*> commandPointers = Lab::ArgumentPointers(command);
  const std::vector<char*> environmentPointers = Lab::ArgumentPointers(environment);
  const int errors = open(errorFile_.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
  const Image image{commandPointers.data(), environmentPointers.data(), errors};
  if (input == Input::kTerminal) {
    StartAtTerminal(image);
  } else {
    StartBetweenPipes(image);
  }
  close(errors);
}

AgentProcess::~AgentProcess() {
  if (process_ > 0) {
    kill(process_, SIGKILL);
    waitpid(process_, nullptr, 0);
  }
  if (input_ >= 0 && input_ != output_) close(input_);
  if (output_ >= 0) close(output_);
}

void AgentProcess::StartAtTerminal(const Image& image) {
  const winsize size{50, 145, 0, 0};
  process_ = forkpty(&output_, nullptr, nullptr, &size);
  if (process_ < 0) throw std::runtime_error("no terminal for the agent");
  if (process_ == 0) image.Run();
  input_ = output_;
}

void AgentProcess::StartBetweenPipes(const Image& image) {
  int in[2];
  int out[2];
  if (pipe2(in, O_CLOEXEC) != 0 || pipe2(out, O_CLOEXEC) != 0) {
    throw std::runtime_error("no pipes for the agent");
  }
  process_ = fork();
  if (process_ < 0) throw std::runtime_error("no process for the agent");
  if (process_ == 0) {
    dup2(in[0], STDIN_FILENO);
    dup2(out[1], STDOUT_FILENO);
    image.Run();
  }
  close(in[0]);
  close(out[1]);
  input_ = in[1];
  output_ = out[0];
}

void AgentProcess::Type(const std::wstring& text) {
  const std::string bytes = WideToUtf8(text);
  if (write(input_, bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size())) {
    throw std::runtime_error("the agent takes no input");
  }
}

void AgentProcess::TypeMasked(const std::wstring& text) {
  constexpr int kStepMilliseconds = 1;
  termios modes{};
  for (int waited = 0; waited < kPatienceMilliseconds; waited += kStepMilliseconds) {
    if (tcgetattr(input_, &modes) == 0 && (modes.c_lflag & ECHO) == 0) {
      Type(text);
      return;
    }
    (void)poll(nullptr, 0, kStepMilliseconds);
  }
  throw std::runtime_error("the agent never turned the echo off");
}

void AgentProcess::EndInput() {
  close(input_);
  input_ = -1;
}

void AgentProcess::Signal(int signal) { kill(process_, signal); }

bool AgentProcess::ReadSome() {
  pollfd ready{output_, POLLIN, 0};
  if (poll(&ready, 1, kPatienceMilliseconds) <= 0) {
    throw std::runtime_error("the agent hangs; so far: " + console_);
  }
  char buffer[4096];
  const ssize_t count = read(output_, buffer, sizeof(buffer));
  // A terminal whose last process has ended answers with an error, not with an end.
  if (count <= 0) return false;
  std::copy_if(buffer, buffer + count, std::back_inserter(console_),
               [](char c) { return c != '\r'; });
  return true;
}

void AgentProcess::WaitFor(const std::wstring& text) {
  const std::string bytes = WideToUtf8(text);
  std::size_t place = console_.find(bytes, seen_);
  while (place == std::string::npos) {
    if (!ReadSome()) throw std::runtime_error("the agent never showed: " + bytes + "\n" + console_);
    place = console_.find(bytes, seen_);
  }
  seen_ = place + bytes.size();
}

void AgentProcess::WaitForLog(const LogLine& line) const {
  constexpr int kStepMilliseconds = 2;
  const std::filesystem::path log = machine_.HostPath(L"%TEMP%\\halvard.log");
  for (int waited = 0; waited < kPatienceMilliseconds; waited += kStepMilliseconds) {
    const std::vector<LogLine> lines = ReadLog(log);
    if (std::find(lines.begin(), lines.end(), line) != lines.end()) return;
    (void)poll(nullptr, 0, kStepMilliseconds);
  }
  throw std::runtime_error("the log never had: " + WideToUtf8(line.message));
}

std::wstring AgentProcess::Console() const { return Utf8ToWide(console_); }

AgentRun AgentProcess::Wait() {
  while (ReadSome()) {
  }
  int status = 0;
  waitpid(process_, &status, 0);
  process_ = -1;
  AgentRun run;
  run.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + WTERMSIG(status);
  run.console = Utf8ToWide(console_);
  run.allOutput = run.console + Utf8ToWide(Lab::FileBytes(errorFile_));
  if (machine_.FileExists(L"%TEMP%\\halvard.log")) {
    const std::filesystem::path log = machine_.HostPath(L"%TEMP%\\halvard.log");
    run.log = ReadLog(log);
    run.allOutput += Utf8ToWide(Lab::FileBytes(log));
  }
  return run;
}

AgentRun RunAgent(const Lab::Instance& machine, const std::vector<std::wstring>& arguments) {
  AgentProcess agent(machine, arguments, AgentProcess::Input::kPipe);
  agent.EndInput();
  return agent.Wait();
}

}  // namespace Halvard::Testing
