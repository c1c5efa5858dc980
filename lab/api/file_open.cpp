// CreateFileW and the closing of handles.
#include "api/failure.h"
#include "files/find.h"
#include "files/open_file.h"
#include "files/rights.h"
#include "machine/call.h"
#include "machine/machine.h"
#include "machine/paths.h"
#include "process/service_handles.h"
#include "windows.h"

namespace {

using Lab::FailToOpen;
using Lab::OpenFile;

Lab::AccessKinds KindsOf(DWORD access, DWORD flags) {
  Lab::AccessKinds kinds = 0;
  if ((access & (GENERIC_READ | FILE_LIST_DIRECTORY)) != 0) kinds |= FILE_SHARE_READ;
  if ((access & GENERIC_WRITE) != 0) kinds |= FILE_SHARE_WRITE;
  // The flag brings the right to delete with it.
  if ((flags & FILE_FLAG_DELETE_ON_CLOSE) != 0) kinds |= FILE_SHARE_DELETE;
  return kinds;
}

OpenFile::Request RequestOf(DWORD access, DWORD share, const SECURITY_ATTRIBUTES* security,
                            DWORD disposition, DWORD flags) {
  OpenFile::Request request;
  request.access = KindsOf(access, flags);
  request.share = share;
  request.mayCreate = disposition != OPEN_EXISTING;
  request.mayExist = disposition != CREATE_NEW;
  request.truncates = disposition == CREATE_ALWAYS;
  request.allowsFolder = (flags & FILE_FLAG_BACKUP_SEMANTICS) != 0;
  request.deletesOnClose = (flags & FILE_FLAG_DELETE_ON_CLOSE) != 0;
  request.attributes = flags & FILE_ATTRIBUTE_READONLY;
  if (security != nullptr && security->lpSecurityDescriptor != nullptr) {
    request.accessList = Lab::AccessListOfNewFile(security->lpSecurityDescriptor);
  }
  return request;
}

}  // namespace

HANDLE CreateFileW(LPCWSTR name, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES attributes,
                   DWORD disposition, DWORD flagsAndAttributes, HANDLE templateFile) {
  LAB_SUPPORTS(name != nullptr && templateFile == nullptr);
  const Lab::Call call("CreateFileW", name);
  if (call.FailsByPlan()) return INVALID_HANDLE_VALUE;
  LAB_SUPPORTS((access & ~(GENERIC_READ | GENERIC_WRITE | FILE_LIST_DIRECTORY)) == 0);
  LAB_SUPPORTS((share & ~(FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE)) == 0);
  LAB_SUPPORTS(disposition >= CREATE_NEW && disposition <= OPEN_ALWAYS);
  LAB_SUPPORTS((flagsAndAttributes &
                ~(FILE_ATTRIBUTE_NORMAL | FILE_ATTRIBUTE_READONLY | FILE_FLAG_DELETE_ON_CLOSE |
                  FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OVERLAPPED)) == 0);

  const Lab::FoundPath found = Lab::FindPath(name);
  const bool missing = found.error == ERROR_FILE_NOT_FOUND;
  if (found.error != ERROR_SUCCESS && !missing) return FailToOpen(found.error);
  OpenFile::Result opened = OpenFile::Open(
      found.host, RequestOf(access, share, attributes, disposition, flagsAndAttributes));
  if (opened.file == nullptr) return FailToOpen(opened.error);
  const bool tells = disposition == CREATE_ALWAYS || disposition == OPEN_ALWAYS;
  SetLastError(tells && opened.existed ? ERROR_ALREADY_EXISTS : ERROR_SUCCESS);
  return Lab::Handles().Add(std::move(opened.file));
}

BOOL CloseHandle(HANDLE object) {
  const Lab::Call call("CloseHandle");
  if (call.FailsByPlan()) return FALSE;
  // That value names the process itself: closing it does nothing.
  if (object == INVALID_HANDLE_VALUE) return TRUE;
  // The handles of a search and of the service manager aren't those of the system's objects.
  const bool isOther = Lab::Handles().FindAs<Lab::Find>(object) != nullptr ||
                       Lab::Handles().FindAs<Lab::ServiceControlObject>(object) != nullptr;
  if (!isOther && Lab::Handles().Close(object)) return TRUE;
  return Lab::Fail(ERROR_INVALID_HANDLE);
}
