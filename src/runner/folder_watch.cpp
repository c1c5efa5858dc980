#include "runner/folder_watch.h"

#include "core/logging.h"

namespace Halvard::Runner {

bool FolderWatch::Open(const std::wstring& folder) {
  LogScope log;
  constexpr BOOL kManualReset = TRUE;
  constexpr BOOL kUnset = FALSE;
  event_ = CreateEventW(nullptr, kManualReset, kUnset, nullptr);
  if (event_ == nullptr) {
    const DWORD error = GetLastError();
    log.Error(L"MonitorStatusFile: Failed to create event: %d", error);
    return false;
  }
  overlapped_.hEvent = event_;
  directory_.Reset(CreateFileW(
      folder.c_str(), FILE_LIST_DIRECTORY, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
      nullptr, OPEN_EXISTING, FILE_FLAG_OVERLAPPED | FILE_FLAG_BACKUP_SEMANTICS, nullptr));
  if (directory_) return true;
  const DWORD error = GetLastError();
  log.Error(L"MonitorStatusFile: Failed to open status file directory \"%ws\": %d", folder.c_str(),
            error);
  return false;
}

bool FolderWatch::Read() {
  constexpr BOOL kSubtree = FALSE;
  return ReadDirectoryChangesW(directory_.Get(), changes_, kSize, kSubtree,
                               FILE_NOTIFY_CHANGE_FILE_NAME | FILE_NOTIFY_CHANGE_LAST_WRITE,
                               nullptr, &overlapped_, nullptr) != FALSE;
}

bool FolderWatch::Begin(const std::wstring& folder) {
  if (!Open(folder)) return false;
  if (Read()) return true;
  const DWORD error = GetLastError();
  LogScope log;
  log.Error(L"MonitorStatusFile: Failed to read directory changes in \"%ws\": %d", folder.c_str(),
            error);
  return false;
}

bool FolderWatch::Take(DWORD& bytes) {
  bytes = 0;
  constexpr BOOL kWait = FALSE;
  const BOOL done = GetOverlappedResult(directory_.Get(), &overlapped_, &bytes, kWait);
  const DWORD error = done ? DWORD{ERROR_SUCCESS} : GetLastError();
  // Some systems report an overflow as a failure with a code of its own, others as no bytes.
  if (error == ERROR_NOTIFY_ENUM_DIR) {
    bytes = 0;
  } else if (!done) {
    LogScope log;
    log.Error(L"MonitorStatusFile: Get result failed for status file directory: %d %d", done,
              error);
    return false;
  }
  (void)ResetEvent(event_);
  return true;
}

bool FolderWatch::Continue() {
  if (Read()) return true;
  const DWORD error = GetLastError();
  LogScope log;
  log.Error(L"MonitorStatusFile: Failed to re-read directory changes: %d", error);
  return false;
}

}  // namespace Halvard::Runner
