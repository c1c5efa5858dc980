// Starting processes, and what can be done to them by their handles.
#include <filesystem>
#include <string>
#include <string_view>

#include "api/failure.h"
#include "files/host_errors.h"
#include "machine/call.h"
#include "machine/machine.h"
#include "machine/paths.h"
#include "machine/text.h"
#include "process/command_interpreter.h"
#include "process/command_line.h"
#include "process/host_program.h"
#include "process/process_objects.h"
#include "windows.h"

namespace {

using Lab::Fail;

/// A new console that is hidden, and the flags that the agent always passes.
constexpr DWORD kSupportedFlags =
    CREATE_SUSPENDED | CREATE_NEW_CONSOLE | CREATE_UNICODE_ENVIRONMENT | CREATE_BREAKAWAY_FROM_JOB;

constexpr std::size_t kLongestCommandLine = 32767;

/// \return The variables of a block, "NAME=value" each, and with them the one by which programs of
///         the lab find their machine: no block has it, since no Windows knows it.
std::vector<std::string> VariablesOf(const wchar_t* block) {
  std::vector<std::string> variables;
  for (std::wstring_view entry = block; !entry.empty(); entry = block) {
    variables.push_back(Lab::ToUtf8(entry));
    block += entry.size() + 1;
  }
  variables.push_back("HALVARD_LAB=" + Lab::TheMachine().Folder().string());
  return variables;
}

/// Puts together what the host is to start. \return 0 or an error code.
DWORD Prepare(std::wstring_view commandLine, LPCWSTR folder, Lab::ChildProcess::Request& request) {
  if (commandLine.size() >= kLongestCommandLine) return ERROR_FILENAME_EXCED_RANGE;
  const Lab::FoundProgram program = Lab::FindProgram(commandLine);
  if (program.error != ERROR_SUCCESS) return program.error;
  const Lab::FoundPath place = Lab::FindPath(folder);
  if (place.error != ERROR_SUCCESS || !std::filesystem::is_directory(place.host)) {
    return ERROR_DIRECTORY;
  }
  request.folder = place.host;
  // The interpreter divides its command line by rules of its own.
  if (Lab::IsCommandInterpreter(program.host)) {
    request.command = Lab::InterpreterCommand(program.rest);
    return ERROR_SUCCESS;
  }
  request.command = Lab::HostCommand(program.host);
  if (request.command.empty()) return ERROR_BAD_EXE_FORMAT;
  for (const std::wstring& argument : Lab::SplitArguments(program.rest)) {
    request.command.push_back(Lab::HostArgument(argument));
  }
  return ERROR_SUCCESS;
}

}  // namespace

BOOL CreateProcessW(LPCWSTR application, LPWSTR commandLine, LPSECURITY_ATTRIBUTES process,
                    LPSECURITY_ATTRIBUTES thread, BOOL inherit, DWORD flags, LPVOID environment,
                    LPCWSTR folder, LPSTARTUPINFOW startup, LPPROCESS_INFORMATION started) {
  LAB_SUPPORTS(commandLine != nullptr);
  const Lab::Call call("CreateProcessW", commandLine);
  if (call.FailsByPlan()) return FALSE;
  LAB_SUPPORTS(application == nullptr && process == nullptr && thread == nullptr);
  LAB_SUPPORTS(inherit == FALSE && flags == kSupportedFlags);
  LAB_SUPPORTS(environment != nullptr && folder != nullptr && started != nullptr);
  LAB_SUPPORTS(startup->cb == sizeof(STARTUPINFOW) && startup->dwFlags == STARTF_USESHOWWINDOW &&
               startup->wShowWindow == SW_HIDE);
  Lab::ChildProcess::Request request;
  const DWORD error = Prepare(commandLine, folder, request);
  if (error != ERROR_SUCCESS) return Fail(error);
  request.variables = VariablesOf(static_cast<const wchar_t*>(environment));
  const Lab::ChildProcess::Result result = Lab::ChildProcess::Start(request);
  if (result.process == nullptr) return Fail(Lab::ErrorOfHost(result.hostError));
  // The host numbers threads and processes alike, and a process's first thread like itself.
  const auto id = static_cast<DWORD>(result.process->Id());
  *started = {Lab::Handles().Add(std::make_shared<Lab::Process>(result.process)),
              Lab::Handles().Add(std::make_shared<Lab::MainThread>(result.process)), id, id};
  return TRUE;
}

DWORD ResumeThread(HANDLE thread) {
  constexpr DWORD kFailed = 0xFFFFFFFF;
  const Lab::Call call("ResumeThread");
  if (call.FailsByPlan()) return kFailed;
  const auto object = Lab::Handles().FindAs<Lab::MainThread>(thread);
  if (object != nullptr) return object->Child()->Resume();
  SetLastError(ERROR_INVALID_HANDLE);
  return kFailed;
}

BOOL TerminateProcess(HANDLE process, UINT exitCode) {
  const Lab::Call call("TerminateProcess");
  if (call.FailsByPlan()) return FALSE;
  const auto object = Lab::Handles().FindAs<Lab::Process>(process);
  if (object == nullptr) return Fail(ERROR_INVALID_HANDLE);
  return object->Child()->Terminate(exitCode) ? TRUE : Fail(ERROR_ACCESS_DENIED);
}

BOOL GetExitCodeProcess(HANDLE process, LPDWORD exitCode) {
  const Lab::Call call("GetExitCodeProcess");
  if (call.FailsByPlan()) return FALSE;
  LAB_SUPPORTS(exitCode != nullptr);
  const auto object = Lab::Handles().FindAs<Lab::Process>(process);
  if (object == nullptr) return Fail(ERROR_INVALID_HANDLE);
  *exitCode = object->Child()->ExitCode().value_or(STILL_ACTIVE);
  return TRUE;
}
