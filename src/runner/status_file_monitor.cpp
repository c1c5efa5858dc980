#include "runner/status_file_monitor.h"

#include <optional>
#include <string>

#include "core/logging.h"
#include "runner/folder_changes.h"
#include "runner/folder_watch.h"

namespace Halvard::Runner {
namespace {

/// Success or failure of the run; nothing as long as neither is known.
using Outcome = std::optional<bool>;

class StatusFileMonitor {
 public:
  StatusFileMonitor(HANDLE job, HANDLE process, HANDLE thread, const wchar_t* statusFilePath,
                    StatusParseCallback parseCallback, void* callbackContext)
      : job_(job),
        process_(process),
        thread_(thread),
        statusFilePath_(statusFilePath),
        parseCallback_(parseCallback),
        callbackContext_(callbackContext),
        handles_{process, nullptr} {}

  bool Run();

 private:
  bool SetUpWatch();
  bool DividePath();
  bool Start();
  bool WaitForOutcome();
  Outcome Handle(DWORD waitResult, DWORD error);
  Outcome HandleSignal(DWORD index);
  Outcome HandleChange();
  Outcome HandleParseResult(int result);
  bool HandleProcessEnd();
  Outcome ParseOneLastTime();
  bool JudgeExitCode(DWORD exitCode);
  int CallParser();
  bool WatchStands() const { return count_ == 2; }
  void EndPhase();
  void AwaitProcess();
  void AwaitJobTree();

  LogScope log_;
  const HANDLE job_;
  const HANDLE process_;
  const HANDLE thread_;
  const wchar_t* const statusFilePath_;
  const StatusParseCallback parseCallback_;
  void* const callbackContext_;

  /// The process, and the change event as long as the status file is watched.
  HANDLE handles_[2];
  DWORD count_ = 1;
  bool started_ = false;
  int parserCalls_ = 0;

  std::wstring directoryPath_;
  std::wstring fileName_;
  FolderWatch watch_;
};

bool StatusFileMonitor::DividePath() {
  const wchar_t* const last = wcsrchr(statusFilePath_, L'\\');
  if (last == nullptr) {
    log_.Error(L"MonitorStatusFile: Status monitor failed to parse file path \"%ws\"",
               statusFilePath_);
    return false;
  }
  directoryPath_.assign(statusFilePath_, last + 1);
  fileName_ = last + 1;
  log_.Info(L"MonitorStatusFile: Status file directory is \"%ws\"", directoryPath_.c_str());
  log_.Info(L"MonitorStatusFile: Monitoring directory \"%ws\" for file \"%ws\"",
            directoryPath_.c_str(), fileName_.c_str());
  return true;
}

bool StatusFileMonitor::SetUpWatch() {
  if (statusFilePath_ == nullptr || parseCallback_ == nullptr) return true;
  if (!DividePath() || !watch_.Begin(directoryPath_)) return false;
  handles_[count_++] = watch_.Event();
  return true;
}

bool StatusFileMonitor::Start() {
  // The answer is how often the thread was suspended; this one value is a failure.
  constexpr DWORD kFailed = 0xFFFFFFFF;
  if (ResumeThread(thread_) == kFailed) {
    const DWORD error = GetLastError();
    log_.Error(L"MonitorStatusFile: Failed to resume thread: %d", error);
    return false;
  }
  log_.Info(L"MonitorStatusFile: Started execution of process");
  started_ = true;
  return true;
}

bool StatusFileMonitor::WaitForOutcome() {
  constexpr BOOL kWaitForAll = FALSE;
  constexpr BOOL kAlertable = TRUE;
  for (;;) {
    const DWORD result =
        WaitForMultipleObjectsEx(count_, handles_, kWaitForAll, INFINITE, kAlertable);
    const DWORD error = GetLastError();
    if (const Outcome outcome = Handle(result, error)) return *outcome;
  }
}

Outcome StatusFileMonitor::Handle(DWORD waitResult, DWORD error) {
  if (waitResult < WAIT_OBJECT_0 + count_) return HandleSignal(waitResult - WAIT_OBJECT_0);
  if (waitResult >= WAIT_ABANDONED_0 && waitResult < WAIT_ABANDONED_0 + count_) {
    log_.Error(L"MonitorStatusFile: wait aborted on %d", waitResult - WAIT_ABANDONED_0);
    return std::nullopt;
  }
  switch (waitResult) {
    case WAIT_IO_COMPLETION:
      log_.Info(L"MonitorStatusFile: wait io completion");
      return std::nullopt;
    case WAIT_TIMEOUT:
      log_.Error(L"MonitorStatusFile: Wait timed out");
      return false;
    case WAIT_FAILED:
      log_.Error(L"MonitorStatusFile: Unexpected failed: %d", error);
      return false;
    default:
      log_.Error(L"MonitorStatusFile: Unexpected wait result: %d %d", waitResult, error);
      return false;
  }
}

Outcome StatusFileMonitor::HandleSignal(DWORD index) {
  if (index == 1 && WatchStands()) return HandleChange();
  if (index == 0) return HandleProcessEnd();
  log_.Error(L"MonitorStatusFile: unexpected index: %d", index);
  return false;
}

Outcome StatusFileMonitor::HandleChange() {
  DWORD bytes = 0;
  if (!watch_.Take(bytes)) return false;
  int result = ParseContinue;
  if (bytes == 0) {
    log_.Info(L"MonitorStatusFile: Status file directory has 0 events, assuming changed");
    result = CallParser();
  } else if (TellsOfFile(watch_.Records(), bytes, fileName_)) {
    result = CallParser();
  }
  return HandleParseResult(result);
}

Outcome StatusFileMonitor::HandleParseResult(int result) {
  if (result == ParseContinue) {
    if (watch_.Continue()) return std::nullopt;
    return false;
  }
  if (handles_[count_ - 1] != watch_.Event()) {
    log_.Error(L"MonitorStatusFile: ERROR: Somebody messed up in the array handling");
    return false;
  }
  --count_;
  if (result == ParseDisable) {
    log_.Error(L"MonitorStatusFile: Parse callback disabled future calls");
    return std::nullopt;
  }
  const bool success = result == ParseFinalSuccess;
  log_.Info(L"MonitorStatusFile: Parse callback gave final result: %d", success ? 1 : 0);
  return success;
}

bool StatusFileMonitor::HandleProcessEnd() {
  DWORD exitCode = 0;
  if (GetExitCodeProcess(process_, &exitCode)) {
    log_.Info(L"MonitorStatusFile: Other process terminated with %d, exiting", exitCode);
  } else {
    const DWORD error = GetLastError();
    log_.Error(L"MonitorStatusFile: Other process terminated, failed to get exit code: %d", error);
  }
  if (const Outcome outcome = ParseOneLastTime()) return *outcome;
  if (parseCallback_ == nullptr) return JudgeExitCode(exitCode);
  log_.Error(L"MonitorStatusFile: Don't know final status, assuming failure");
  return false;
}

Outcome StatusFileMonitor::ParseOneLastTime() {
  if (!WatchStands()) return std::nullopt;
  log_.Info(L"MonitorStatusFile: Calling status parser one last time");
  const int result = CallParser();
  if (result != ParseFinalSuccess && result != ParseFinalFailure) {
    log_.Error(L"MonitorStatusFile: Final parse callback didn't provide final result");
    return std::nullopt;
  }
  const bool success = result == ParseFinalSuccess;
  log_.Info(L"MonitorStatusFile: Final Parse callback gave result: %d", result);
  log_.Info(L"MonitorStatusFile: Final status result: %d", success ? 1 : 0);
  return success;
}

bool StatusFileMonitor::JudgeExitCode(DWORD exitCode) {
  if (exitCode == 0) {
    log_.Info(
        L"MonitorStatusFile: Process exited with a '0' exit code; no status monitoring so assuming success");
    return true;
  }
  log_.Error(
      L"MonitorStatusFile: Process exited with a non-zero exit code; no status monitoring so assuming failure");
  return false;
}

int StatusFileMonitor::CallParser() {
  ++parserCalls_;
  return parseCallback_(callbackContext_, statusFilePath_);
}

void StatusFileMonitor::AwaitProcess() {
  if (!started_ || WaitForSingleObject(process_, 0) != WAIT_TIMEOUT) {
    log_.Info(L"MonitorStatusFile: No need to wait for process to complete");
    return;
  }
  log_.Info(L"MonitorStatusFile: Process still hasn't terminated, waiting");
  const DWORD result = WaitForSingleObject(process_, INFINITE);
  log_.Info(L"MonitorStatusFile: Wait on process has completed: %d", result);
}

void StatusFileMonitor::AwaitJobTree() {
  if (!started_ || WaitForSingleObject(job_, 0) != WAIT_TIMEOUT) {
    log_.Info(L"MonitorStatusFile: No need to wait for process's job tree to complete");
    return;
  }
  log_.Info(L"MonitorStatusFile: Process's job tree still hasn't terminated, waiting");
  // On the process, not on the job: nothing ever signals a job without limits, so that a wait on it
  // would never end.
  const DWORD result = WaitForSingleObject(process_, INFINITE);
  log_.Info(L"MonitorStatusFile: Wait on process's job tree has completed: %d", result);
}

void StatusFileMonitor::EndPhase() {
  log_.Info(L"MonitorStatusFile: called parse callback %d times", parserCalls_);
  AwaitProcess();
  AwaitJobTree();
  watch_.End();
}

bool StatusFileMonitor::Run() {
  const bool success = SetUpWatch() && Start() && WaitForOutcome();
  EndPhase();
  return success;
}

}  // namespace

bool MonitorStatusFile(HANDLE job, HANDLE process, HANDLE thread, const wchar_t* statusFilePath,
                       StatusParseCallback parseCallback, void* callbackContext) {
  StatusFileMonitor monitor(job, process, thread, statusFilePath, parseCallback, callbackContext);
  return monitor.Run();
}

}  // namespace Halvard::Runner
