// Snapshots of threads and modules, and handles on threads.
#include <cstddef>
#include <iterator>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

#include <unistd.h>

#include "api/failure.h"
#include "machine/call.h"
#include "machine/handles.h"
#include "machine/machine.h"
#include "machine/modules.h"
#include "process/host_thread.h"
#include "shell/zip_copies.h"
#include "windows.h"

#include "tlhelp32.h"

namespace {

using Lab::Fail;
using Lab::FailWithNull;

/// A thread of the system itself: a snapshot is of all processes.
constexpr DWORD kSystemProcess = 4;
constexpr DWORD kSystemThread = 8;

class Snapshot : public Lab::Object {
 public:
  const char* TypeName() const override { return "Snapshot"; }

  std::vector<THREADENTRY32> threads;
  std::vector<MODULEENTRY32W> modules;
  std::size_t nextThread = 0;
  std::size_t nextModule = 0;
};

THREADENTRY32 ThreadEntry(DWORD thread, DWORD process) {
  THREADENTRY32 entry = {};
  entry.dwSize = sizeof entry;
  entry.th32ThreadID = thread;
  entry.th32OwnerProcessID = process;
  return entry;
}

MODULEENTRY32W ModuleEntry(const std::wstring& path, DWORD count) {
  MODULEENTRY32W entry = {};
  entry.dwSize = sizeof entry;
  entry.th32ProcessID = static_cast<DWORD>(getpid());
  entry.GlblcntUsage = count;
  entry.ProccntUsage = count;
  path.copy(entry.szExePath, std::size(entry.szExePath) - 1);
  path.substr(path.rfind(L'\\') + 1).copy(entry.szModule, std::size(entry.szModule) - 1);
  return entry;
}

std::vector<THREADENTRY32> TakeThreads() {
  std::vector<THREADENTRY32> threads{ThreadEntry(kSystemThread, kSystemProcess)};
  for (const pid_t thread : Lab::OwnThreads()) {
    if (Lab::TheZipCopies().Hides(thread)) continue;
    threads.push_back(ThreadEntry(static_cast<DWORD>(thread), static_cast<DWORD>(getpid())));
  }
  return threads;
}

std::vector<MODULEENTRY32W> TakeModules() {
  constexpr DWORD kProgramCount = 65535;
  std::vector<MODULEENTRY32W> modules{
      ModuleEntry(Lab::TheMachine().Describe().programPath, kProgramCount)};
  for (const auto& [name, count] : Lab::Modules().Snapshot()) {
    modules.push_back(ModuleEntry(L"C:\\Windows\\system32\\" + name, count));
  }
  return modules;
}

/// Hands out the entry at \p next. The caller says by a size that it knows the structure.
template <typename Entry>
BOOL HandOut(const std::vector<Entry>& entries, std::size_t& next, Entry* entry) {
  if (entry->dwSize < sizeof(Entry)) return Fail(ERROR_INSUFFICIENT_BUFFER);
  if (next >= entries.size()) return Fail(ERROR_NO_MORE_FILES);
  *entry = entries[next++];
  return TRUE;
}

BOOL NextThread(HANDLE handle, THREADENTRY32* entry, bool first) {
  const auto snapshot = Lab::Handles().FindAs<Snapshot>(handle);
  if (snapshot == nullptr) return Fail(ERROR_INVALID_HANDLE);
  if (first) snapshot->nextThread = 0;
  return HandOut(snapshot->threads, snapshot->nextThread, entry);
}

BOOL NextModule(HANDLE handle, MODULEENTRY32W* entry, bool first) {
  const auto snapshot = Lab::Handles().FindAs<Snapshot>(handle);
  if (snapshot == nullptr) return Fail(ERROR_INVALID_HANDLE);
  if (first) snapshot->nextModule = 0;
  return HandOut(snapshot->modules, snapshot->nextModule, entry);
}

}  // namespace

HANDLE CreateToolhelp32Snapshot(DWORD flags, DWORD processId) {
  const Lab::Call call("CreateToolhelp32Snapshot");
  if (call.FailsByPlan()) return INVALID_HANDLE_VALUE;
  LAB_SUPPORTS(flags == TH32CS_SNAPTHREAD || flags == TH32CS_SNAPMODULE);
  const bool isOwn = processId == 0 || processId == static_cast<DWORD>(getpid());
  LAB_SUPPORTS(isOwn || flags == TH32CS_SNAPTHREAD);
  auto snapshot = std::make_shared<Snapshot>();
  if (flags == TH32CS_SNAPTHREAD) {
    snapshot->threads = TakeThreads();
  } else {
    snapshot->modules = TakeModules();
  }
  return Lab::Handles().Add(std::move(snapshot));
}

BOOL Thread32First(HANDLE snapshot, LPTHREADENTRY32 entry) {
  const Lab::Call call("Thread32First");
  return call.FailsByPlan() ? FALSE : NextThread(snapshot, entry, true);
}

BOOL Thread32Next(HANDLE snapshot, LPTHREADENTRY32 entry) {
  const Lab::Call call("Thread32Next");
  return call.FailsByPlan() ? FALSE : NextThread(snapshot, entry, false);
}

BOOL Module32FirstW(HANDLE snapshot, LPMODULEENTRY32W entry) {
  const Lab::Call call("Module32FirstW");
  return call.FailsByPlan() ? FALSE : NextModule(snapshot, entry, true);
}

BOOL Module32NextW(HANDLE snapshot, LPMODULEENTRY32W entry) {
  const Lab::Call call("Module32NextW");
  return call.FailsByPlan() ? FALSE : NextModule(snapshot, entry, false);
}

HANDLE OpenThread(DWORD access, BOOL inherit, DWORD threadId) {
  const Lab::Call call("OpenThread");
  if (call.FailsByPlan()) return nullptr;
  LAB_SUPPORTS(access == SYNCHRONIZE && inherit == FALSE);
  const auto thread = static_cast<pid_t>(threadId);
  const auto start = Lab::HostThread::StartOf(thread);
  if (!start) return FailWithNull(ERROR_INVALID_PARAMETER);
  try {
    return Lab::Handles().Add(std::make_shared<Lab::HostThread>(thread, *start));
  } catch (const std::system_error&) {
    return FailWithNull(ERROR_NOT_ENOUGH_MEMORY);
  }
}

DWORD GetCurrentThreadId() {
  const Lab::Call call("GetCurrentThreadId");
  LAB_SUPPORTS(!call.PlannedError());
  return static_cast<DWORD>(gettid());
}
