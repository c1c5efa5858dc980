// Child processes of tests, started as the agent starts its own.
#pragma once

#include <string>

#include "host/unique_resource.h"

namespace WindowsApi {

/// \return Path of the program of child_program.h.
std::wstring ChildProgram();

/// \return True when the process with this id runs.
bool ProcessRuns(unsigned long processId);

/// The same once an end that is on its way has had time to come.
bool RunsAfterAMoment(unsigned long processId);
void EndProcess(unsigned long processId);

/// The user's default environment.
class EnvironmentBlock {
 public:
  EnvironmentBlock();
  EnvironmentBlock(const EnvironmentBlock&) = delete;
  EnvironmentBlock& operator=(const EnvironmentBlock&) = delete;
  ~EnvironmentBlock();
  wchar_t* Get() const { return static_cast<wchar_t*>(block_); }

 private:
  LPVOID block_ = nullptr;
};

/// A child, suspended at first. It is ended with the object.
class StartedProcess {
 public:
  /// \param commandLine  Goes to CreateProcessW as it stands.
  /// \param folder       In which the child is to run.
  explicit StartedProcess(std::wstring commandLine, const std::wstring& folder = L"C:\\");
  ~StartedProcess();

  /// \return 0, or why it couldn't be started.
  unsigned Error() const { return error_; }
  HANDLE Handle() const { return process_.Get(); }
  HANDLE Thread() const { return thread_.Get(); }
  unsigned Id() const { return id_; }

  void Resume();
  /// Waits for the end. \return The exit code.
  unsigned ExitCode();

 private:
  unsigned error_ = 0;
  unsigned id_ = 0;
  Halvard::Host::UniqueHandle process_;
  Halvard::Host::UniqueHandle thread_;
};

/// \return A command line for the program of child_program.h.
std::wstring ChildLine(const std::wstring& arguments);

}  // namespace WindowsApi
