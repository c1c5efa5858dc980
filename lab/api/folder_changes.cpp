// Watching folders in the background.
#include <memory>
#include <system_error>

#include "api/failure.h"
#include "files/folder_watch.h"
#include "files/host_errors.h"
#include "files/open_file.h"
#include "machine/call.h"
#include "sync/event.h"
#include "windows.h"

namespace {

using Lab::Fail;

constexpr DWORD kSupportedFilter = FILE_NOTIFY_CHANGE_FILE_NAME | FILE_NOTIFY_CHANGE_LAST_WRITE;

/// \return What a folder's handle names; null, with the last error set, for all other handles.
std::shared_ptr<Lab::OpenFile> FindFolder(HANDLE handle) {
  auto folder = Lab::Handles().FindAs<Lab::OpenFile>(handle);
  if (folder != nullptr && folder->IsFolder()) return folder;
  return Lab::FailWithNull(folder == nullptr ? ERROR_INVALID_HANDLE : ERROR_INVALID_PARAMETER);
}

}  // namespace

BOOL ReadDirectoryChangesW(HANDLE handle, LPVOID buffer, DWORD size, BOOL subtree, DWORD filter,
                           LPDWORD /*bytes*/, LPOVERLAPPED overlapped,
                           LPOVERLAPPED_COMPLETION_ROUTINE routine) {
  const Lab::Call call("ReadDirectoryChangesW");
  if (call.FailsByPlan()) return FALSE;
  const auto folder = FindFolder(handle);
  if (folder == nullptr) return FALSE;
  if (filter == 0) return Fail(ERROR_INVALID_PARAMETER);
  LAB_SUPPORTS(buffer != nullptr && subtree == FALSE && filter == kSupportedFilter);
  LAB_SUPPORTS(overlapped != nullptr && routine == nullptr);
  auto event = Lab::Handles().FindAs<Lab::Event>(overlapped->hEvent);
  LAB_SUPPORTS(event != nullptr);
  try {
    folder->Watch()->Request(buffer, size, *overlapped, std::move(event));
    return TRUE;
  } catch (const std::system_error& error) {
    return Fail(Lab::ErrorOfHost(error.code().value()));
  }
}

BOOL GetOverlappedResult(HANDLE handle, LPOVERLAPPED overlapped, LPDWORD bytes, BOOL wait) {
  const Lab::Call call("GetOverlappedResult");
  if (call.FailsByPlan()) return FALSE;
  LAB_SUPPORTS(overlapped != nullptr && bytes != nullptr && wait == FALSE);
  const auto folder = FindFolder(handle);
  if (folder == nullptr) return FALSE;
  folder->Watch()->BringForward();
  *bytes = static_cast<DWORD>(overlapped->InternalHigh);
  if (overlapped->Internal == Lab::kStatusPending) return Fail(ERROR_IO_INCOMPLETE);
  return TRUE;
}
