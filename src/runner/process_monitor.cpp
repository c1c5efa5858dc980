#include "runner/process_monitor.h"

#include <cstdlib>
#include <memory>
#include <string>

#include "core/logging.h"
#include "host/unique_resource.h"
#include "host/windows_api.h"

namespace Halvard::Runner {
namespace {

constexpr UINT kTerminatedExitCode = static_cast<UINT>(-1);

struct FreeText {
  void operator()(wchar_t* text) const { std::free(text); }
};

/// \return False only when the end is certain: what a failed wait leaves open is to be ended too.
bool MayRun(HANDLE processOrJob) { return WaitForSingleObject(processOrJob, 0) != WAIT_OBJECT_0; }

/// One child from its command line to the clean-up, which the destructor does on all paths.
class Launch {
 public:
  Launch() = default;
  Launch(const Launch&) = delete;
  Launch& operator=(const Launch&) = delete;
  ~Launch();

  bool Run(const wchar_t* commandLine, const wchar_t* statusFilePath,
           StatusParseCallback parseCallback, void* callbackContext);

 private:
  bool CopyCommandLine(const wchar_t* commandLine);
  bool FindDirectory();
  void DeleteStatusFile(const wchar_t* statusFilePath);
  bool MakeEnvironment();
  bool MakeJob();
  bool CreateSuspended();
  bool AssignToJob();
  void EndProcess();
  void EndJob();

  LogScope log_;
  std::unique_ptr<wchar_t, FreeText> commandLine_;
  std::wstring directory_;
  Host::UniqueHandle token_;
  LPVOID environment_ = nullptr;
  Host::UniqueHandle job_;
  Host::UniqueHandle process_;
  Host::UniqueHandle thread_;
};

bool Launch::CopyCommandLine(const wchar_t* commandLine) {
  // The system writes into the line that it is given.
  commandLine_.reset(_wcsdup(commandLine));
  if (commandLine_ != nullptr) return true;
  log_.Error(L"LaunchProcAndMonitorStatus: Failed to dup cmd-line");
  return false;
}

bool Launch::FindDirectory() {
  const wchar_t* const line = commandLine_.get();
  std::wstring path;
  if (*line == L'"') {
    const wchar_t* const end = wcschr(line + 1, L'"');
    if (end == nullptr) {
      log_.Error(L"LaunchProcAndMonitorStatus: Failed to find second quote in \"%ws\"", line);
      return false;
    }
    path.assign(line + 1, end);
  } else {
    const wchar_t* const end = wcschr(line, L' ');
    path = end == nullptr ? std::wstring(line) : std::wstring(line, end);
  }
  const wchar_t* const last = wcsrchr(path.c_str(), L'\\');
  if (last == nullptr) {
    log_.Error(L"LaunchProcAndMonitorStatus: Failed to find directory part of \"%ws\"",
               path.c_str());
    return false;
  }
  directory_.assign(path.c_str(), last + 1);
  return true;
}

void Launch::DeleteStatusFile(const wchar_t* statusFilePath) {
  if (statusFilePath == nullptr) return;
  if (DeleteFileW(statusFilePath)) {
    log_.Info(L"LaunchProcAndMonitorStatus: Deleted status file \"%ws\"", statusFilePath);
    return;
  }
  const DWORD error = GetLastError();
  if (error == ERROR_FILE_NOT_FOUND) return;
  log_.Error(L"LaunchProcAndMonitorStatus: Failed to delete status file \"%ws\": %d",
             statusFilePath, error);
}

bool Launch::MakeEnvironment() {
  HANDLE token = nullptr;
  if (!OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &token)) {
    const DWORD error = GetLastError();
    log_.Error(L"LaunchProcAndMonitorStatus: Failed to get user token: %d", error);
    return false;
  }
  token_.Reset(token);
  constexpr BOOL kInheritOurs = FALSE;
  if (!CreateEnvironmentBlock(&environment_, token, kInheritOurs)) {
    const DWORD error = GetLastError();
    environment_ = nullptr;
    log_.Error(L"LaunchProcAndMonitorStatus: Failed to create environment: %d", error);
    return false;
  }
  return true;
}

bool Launch::MakeJob() {
  job_.Reset(CreateJobObjectW(nullptr, nullptr));
  if (job_) return true;
  const DWORD error = GetLastError();
  log_.Error(L"LaunchProcAndMonitorStatus: Failed to create job: %d", error);
  return false;
}

bool Launch::CreateSuspended() {
  STARTUPINFOW startup = {};
  startup.cb = sizeof startup;
  startup.dwFlags = STARTF_USESHOWWINDOW;
  startup.wShowWindow = SW_HIDE;
  if (!MakeJob()) return false;
  log_.Info(L"LaunchProcAndMonitorStatus: Launching \"%ws\" in \"%ws\"", commandLine_.get(),
            directory_.c_str());
  PROCESS_INFORMATION started = {};
  constexpr DWORD kFlags = CREATE_SUSPENDED | CREATE_NEW_CONSOLE | CREATE_UNICODE_ENVIRONMENT |
                           CREATE_BREAKAWAY_FROM_JOB;
  constexpr BOOL kInheritHandles = FALSE;
  if (!CreateProcessW(nullptr, commandLine_.get(), nullptr, nullptr, kInheritHandles, kFlags,
                      environment_, directory_.c_str(), &startup, &started)) {
    const DWORD error = GetLastError();
    log_.Error(L"LaunchProcAndMonitorStatus: Failed to create requested proc \"%ws\": %d",
               commandLine_.get(), error);
    return false;
  }
  process_.Reset(started.hProcess);
  thread_.Reset(started.hThread);
  log_.Info(L"LaunchProcAndMonitorStatus: Launched process with pid %d tid %d", started.dwProcessId,
            started.dwThreadId);
  return true;
}

bool Launch::AssignToJob() {
  if (AssignProcessToJobObject(job_.Get(), process_.Get())) return true;
  const DWORD error = GetLastError();
  log_.Error(L"LaunchProcAndMonitorStatus: Unable to add process to job object: %d", error);
  if (!TerminateProcess(process_.Get(), kTerminatedExitCode)) {
    const DWORD terminateError = GetLastError();
    // Information: the clean-up ends the process, or has the error line.
    log_.Info(L"LaunchProcAndMonitorStatus: Unable to terminate process: %d", terminateError);
  }
  return false;
}

bool Launch::Run(const wchar_t* commandLine, const wchar_t* statusFilePath,
                 StatusParseCallback parseCallback, void* callbackContext) {
  if (!CopyCommandLine(commandLine) || !FindDirectory()) return false;
  DeleteStatusFile(statusFilePath);
  if (!MakeEnvironment() || !CreateSuspended() || !AssignToJob()) return false;
  if (MonitorStatusFile(job_.Get(), process_.Get(), thread_.Get(), statusFilePath, parseCallback,
                        callbackContext)) {
    return true;
  }
  log_.Error(L"LaunchProcAndMonitorStatus: Failure detected while monitoring status file");
  return false;
}

void Launch::EndProcess() {
  if (!process_) return;
  if (MayRun(process_.Get())) {
    log_.Error(L"LaunchProcAndMonitorStatus: Process still alive, terminating");
    (void)TerminateProcess(process_.Get(), kTerminatedExitCode);
  }
  process_.Reset();
}

void Launch::EndJob() {
  if (!job_) return;
  // A job without limits is never signalled, so this always finds it alive. Terminating it is what
  // removes the processes that the child has left behind; the warning comes with every run.
  if (MayRun(job_.Get())) {
    log_.Warn(L"LaunchProcAndMonitorStatus: Job still alive, terminating");
    (void)TerminateJobObject(job_.Get(), kTerminatedExitCode);
  }
  job_.Reset();
}

Launch::~Launch() {
  commandLine_.reset();
  if (environment_ != nullptr && !DestroyEnvironmentBlock(environment_)) {
    const DWORD error = GetLastError();
    // Information: the run isn't touched by it.
    log_.Info(L"LaunchProcAndMonitorStatus: Failed to destory environment: %d", error);
  }
  token_.Reset();
  thread_.Reset();
  EndProcess();
  EndJob();
}

}  // namespace

bool LaunchProcAndMonitorStatus(const wchar_t* commandLine, const wchar_t* statusFilePath,
                                StatusParseCallback parseCallback, void* callbackContext) {
  Launch launch;
  return launch.Run(commandLine, statusFilePath, parseCallback, callbackContext);
}

bool LaunchProcAndMonitorStatus(const wchar_t* commandLine) {
  return LaunchProcAndMonitorStatus(commandLine, nullptr, nullptr, nullptr);
}

}  // namespace Halvard::Runner
