#include "runner/service_script.h"

#include <cstddef>
#include <string>

#include "core/format_into.h"
#include "core/logging.h"
#include "core/temp_directory.h"
#include "host/windows_api.h"
#include "runner/process_monitor.h"

namespace Halvard::Runner {
namespace {

constexpr wchar_t kHomeVariable[] = L"%OSTREL_RIMSA_HOME%";
constexpr wchar_t kScript[] = L"bin\\service-control.bat";
constexpr wchar_t kScriptLog[] = L"hv-service-control.log";
constexpr std::size_t kCommandLineSize = 2048;

/// \return The path of the command interpreter; empty after a failure, which is logged.
std::wstring FindInterpreter(LogScope& log) {
  wchar_t path[MAX_PATH] = {};
  const UINT length = GetSystemDirectoryW(path, MAX_PATH);
  if (length != 0 && length < MAX_PATH && PathAppendW(path, L"cmd.exe")) return path;
  const DWORD error = GetLastError();
  log.Error(L"ServiceControlStartStopAllServices: Failed to get full path to cmd.exe. Error: %d",
            error);
  return {};
}

/// \return The path of the product's script; empty after a failure, which is logged.
std::wstring FindScript(LogScope& log) {
  wchar_t path[MAX_PATH] = {};
  // An unknown variable is no failure: its reference stays, and the interpreter finds no script.
  if (!ExpandEnvironmentStringsForUserW(nullptr, kHomeVariable, path, MAX_PATH)) {
    const DWORD error = GetLastError();
    log.Error(
        L"ServiceControlStartStopAllServices: Failed to expand environment variable '%s'. Error: %d",
        kHomeVariable, error);
    return {};
  }
  if (PathAppendW(path, kScript)) return path;
  log.Error(L"ServiceControlStartStopAllServices: Error appending %s for full path.", kScript);
  return {};
}

}  // namespace

bool ServiceControlStartStopAllServices(bool start) {
  LogScope log;
  log.Info(L"ServiceControlStartStopAllServices: %s all services.",
           start ? L"Starting" : L"Stopping");
  const std::wstring interpreter = FindInterpreter(log);
  if (interpreter.empty()) return false;
  const std::wstring script = FindScript(log);
  if (script.empty()) return false;
  wchar_t line[kCommandLineSize] = {};
  (void)FormatInto(line, L"\"%s\" /S /C \"\"%s\" %s >> %s%s 2>&1\"", interpreter.c_str(),
                   script.c_str(), start ? L"--start --all" : L"--stop --all",
                   GetTempDirectory().c_str(), kScriptLog);
  return LaunchProcAndMonitorStatus(line);
}

}  // namespace Halvard::Runner
