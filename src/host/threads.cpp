#include "host/threads.h"

#include <cstddef>
#include <memory>
#include <new>

#include "core/logging.h"
#include "host/system_text.h"
#include "host/unique_resource.h"

namespace Halvard::Host {
namespace {

/// The handles of those threads that could be opened.
class OpenThreads {
 public:
  explicit OpenThreads(std::size_t room) : handles_(new (std::nothrow) HANDLE[room]) {}
  OpenThreads(const OpenThreads&) = delete;
  OpenThreads& operator=(const OpenThreads&) = delete;
  ~OpenThreads() {
    for (DWORD i = 0; i < count_; ++i) CloseHandle(handles_[i]);
  }

  bool HasRoom() const { return handles_ != nullptr; }
  void Add(HANDLE thread) { handles_[count_++] = thread; }
  DWORD Count() const { return count_; }
  const HANDLE* Handles() const { return handles_.get(); }

 private:
  const std::unique_ptr<HANDLE[]> handles_;
  DWORD count_ = 0;
};

DWORD WaitForAll(LogScope& log, const OpenThreads& threads, DWORD limit) {
  constexpr BOOL kAll = TRUE;
  const DWORD result = WaitForMultipleObjects(threads.Count(), threads.Handles(), kAll, limit);
  const DWORD error = GetLastError();
  if (result == WAIT_TIMEOUT) {
    log.Info(L"WaitForChildThreads: wait timeout reached: %ds", limit / 1000);
    return ERROR_TIMEOUT;
  }
  if (result == WAIT_FAILED) {
    log.Error(L"WaitForChildThreads: wait failed [%d]: %ws", error, SystemText(error).c_str());
    return ERROR_GEN_FAILURE;
  }
  log.Info(L"WaitForChildThreads: wait ended: %d", result);
  return ERROR_SUCCESS;
}

int CountInSnapshot(LogScope& log, HANDLE snapshot, const wchar_t* name) {
  MODULEENTRY32W entry = {};
  entry.dwSize = sizeof entry;
  if (!Module32FirstW(snapshot, &entry)) {
    const DWORD error = GetLastError();
    log.Error(L"GetModuleCount: Module32First failed [%d]: %ws", error, SystemText(error).c_str());
    return 0;
  }
  do {
    if (_wcsicmp(entry.szModule, name) != 0) continue;
    return entry.ProccntUsage == 0 ? 1 : static_cast<int>(entry.ProccntUsage);
  } while (Module32NextW(snapshot, &entry));
  return 0;
}

}  // namespace

bool GetProcessThreads(DWORD processId, const ThreadSet& ignored, ThreadSet& found) {
  LogScope log;
  found.clear();
  const UniqueSnapshot snapshot(CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0));
  if (!snapshot) {
    const DWORD error = GetLastError();
    log.Error(L"GetProcessThreads: CreateToolhelp32Snapshot failed [%d]: %ws", error,
              SystemText(error).c_str());
    return false;
  }
  THREADENTRY32 entry = {};
  entry.dwSize = sizeof entry;
  if (!Thread32First(snapshot.Get(), &entry)) {
    const DWORD error = GetLastError();
    log.Error(L"GetProcessThreads: Thread32First failed [%d]: %ws", error,
              SystemText(error).c_str());
    return false;
  }
  do {
    const bool isOfProcess = entry.th32OwnerProcessID == processId;
    if (isOfProcess && !ignored.contains(entry.th32ThreadID)) found.insert(entry.th32ThreadID);
  } while (Thread32Next(snapshot.Get(), &entry));
  log.Info(L"GetProcessThreads: PID: 0x%X: %d thread(s) ignoring %d", processId,
           static_cast<int>(found.size()), static_cast<int>(ignored.size()));
  return true;
}

DWORD WaitForChildThreads(const ThreadSet& threads, DWORD limit) {
  LogScope log;
  if (threads.empty() || threads.size() > MAXIMUM_WAIT_OBJECTS) {
    log.Error(L"WaitForChildThreads: invalid input: size %d", static_cast<int>(threads.size()));
    return ERROR_GEN_FAILURE;
  }
  OpenThreads open(threads.size());
  if (!open.HasRoom()) {
    const DWORD error = GetLastError();
    log.Error(L"WaitForChildThreads: failed to allocate thread handles: %d", error);
    return ERROR_GEN_FAILURE;
  }
  constexpr BOOL kInherit = FALSE;
  for (const DWORD thread : threads) {
    const HANDLE handle = OpenThread(SYNCHRONIZE, kInherit, thread);
    if (handle != nullptr) {
      open.Add(handle);
      continue;
    }
    const DWORD error = GetLastError();
    log.Warn(L"WaitForChildThreads: failed to open thread: %d", error);
  }
  log.Info(L"WaitForChildThreads: waiting for %d thread(s)", open.Count());
  // Also with no thread left: the system refuses that, and its refusal is what gets logged.
  return WaitForAll(log, open, limit);
}

int GetModuleCount(const wchar_t* name) {
  if (name == nullptr) return -1;
  LogScope log;
  int count = 0;
  const UniqueSnapshot snapshot(CreateToolhelp32Snapshot(TH32CS_SNAPMODULE, 0));
  if (snapshot) {
    count = CountInSnapshot(log, snapshot.Get(), name);
  } else {
    const DWORD error = GetLastError();
    log.Error(L"GetModuleCount: CreateToolhelp32Snapshot failed [%d]: %ws", error,
              SystemText(error).c_str());
  }
  log.Info(L"GetModuleCount: %ws count is %d", name, count);
  return count;
}

}  // namespace Halvard::Host
