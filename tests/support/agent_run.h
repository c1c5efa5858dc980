// The agent as a process of its own on a lab machine, at a terminal or between pipes.
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>
#include <vector>

#include "support/lab_instance.h"
#include "support/log_lines.h"

namespace Halvard::Testing {

/// What a run of the agent left behind.
struct AgentRun {
  /// As a Linux process reports it: -1 is 255.
  int exitCode = 0;
  /// Everything on standard output, with plain line feeds.
  std::wstring console;
  std::vector<LogLine> log;
  /// Console, standard error and log, for what may show nowhere.
  std::wstring allOutput;
};

/// The agent's program as built, and the one whose credential checks a test may decide.
std::filesystem::path AgentProgram();
std::filesystem::path ScriptedAgentProgram();

/// A running agent. All waiting ends with an exception after a minute: that is a hang.
class AgentProcess {
 public:
  enum class Input { kTerminal, kPipe };

  /// \param arguments  Without the program's name.
  AgentProcess(const Lab::Instance& machine, const std::vector<std::wstring>& arguments,
               Input input = Input::kTerminal,
               const std::filesystem::path& program = AgentProgram());
  AgentProcess(const AgentProcess&) = delete;
  AgentProcess& operator=(const AgentProcess&) = delete;
  /// Ends a process that still runs.
  ~AgentProcess();

  /// Types at the terminal, or writes into the pipe; "\r" is Enter.
  void Type(const std::wstring& text);
  /// The same at a terminal, once the agent has turned its echo off: a prompt shows a moment before
  /// that.
  void TypeMasked(const std::wstring& text);
  /// Ends the input of a pipe.
  void EndInput();
  void Signal(int signal);
  /// Reads until the console has shown \p text again, counted from the last wait's end.
  void WaitFor(const std::wstring& text);
  /// Waits until the log has the line.
  void WaitForLog(const LogLine& line) const;
  /// What it has shown so far, as far as a wait has read it.
  std::wstring Console() const;
  /// Waits for the end of the process.
  AgentRun Wait();

 private:
  struct Image;

  void StartAtTerminal(const Image& image);
  void StartBetweenPipes(const Image& image);
  /// \return False at the end of the output.
  bool ReadSome();

  const Lab::Instance& machine_;
  std::filesystem::path errorFile_;
  pid_t process_ = -1;
  int input_ = -1;
  int output_ = -1;
  std::string console_;
  std::size_t seen_ = 0;
};

/// Runs the agent to its end, with nobody at a terminal: input is at its end from the start.
AgentRun RunAgent(const Lab::Instance& machine, const std::vector<std::wstring>& arguments);

}  // namespace Halvard::Testing
