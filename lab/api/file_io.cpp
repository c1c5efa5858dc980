// Reading, writing and sizes of open files. The position is that of the host's descriptor.
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "api/failure.h"
#include "console/standard_stream.h"
#include "files/host_errors.h"
#include "files/open_file.h"
#include "machine/call.h"
#include "windows.h"

namespace {

using Lab::Fail;
using Lab::OpenFile;

/// One read; what is there will do, as with a pipe.
BOOL ReadDescriptor(int descriptor, LPVOID buffer, DWORD size, LPDWORD bytesRead) {
  for (;;) {
    const ssize_t count = read(descriptor, buffer, size);
    if (count >= 0) {
      *bytesRead = static_cast<DWORD>(count);
      return TRUE;
    }
    if (errno != EINTR) return Fail(Lab::ErrorOfHost(errno));
  }
}

/// \return Size of an open file in bytes; -1 when the handle isn't one of a file.
LONGLONG SizeOf(HANDLE handle) {
  const auto file = Lab::Handles().FindAs<OpenFile>(handle);
  struct stat status = {};
  if (file == nullptr || fstat(file->Descriptor(), &status) != 0) return -1;
  return status.st_size;
}

}  // namespace

BOOL ReadFile(HANDLE file, LPVOID buffer, DWORD size, LPDWORD bytesRead, LPOVERLAPPED overlapped) {
  const Lab::Call call("ReadFile");
  LAB_SUPPORTS(buffer != nullptr && bytesRead != nullptr && overlapped == nullptr);
  *bytesRead = 0;
  if (call.FailsByPlan()) return FALSE;
  if (const auto stream = Lab::Handles().FindAs<Lab::StandardStream>(file)) {
    // The end of a pipe is a failure on Windows, that of a file isn't.
    struct stat status = {};
    const bool isPipe = fstat(stream->Descriptor(), &status) == 0 && S_ISFIFO(status.st_mode);
    if (!ReadDescriptor(stream->Descriptor(), buffer, size, bytesRead)) return FALSE;
    return isPipe && size > 0 && *bytesRead == 0 ? Fail(ERROR_BROKEN_PIPE) : TRUE;
  }
  const auto open = Lab::Handles().FindAs<OpenFile>(file);
  if (open == nullptr) return Fail(ERROR_INVALID_HANDLE);
  if (!open->Reads()) return Fail(ERROR_ACCESS_DENIED);
  return ReadDescriptor(open->Descriptor(), buffer, size, bytesRead);
}

BOOL WriteFile(HANDLE file, LPCVOID data, DWORD size, LPDWORD written, LPOVERLAPPED overlapped) {
  const Lab::Call call("WriteFile");
  LAB_SUPPORTS(data != nullptr && written != nullptr && overlapped == nullptr);
  *written = 0;
  if (call.FailsByPlan()) return FALSE;
  const auto open = Lab::Handles().FindAs<OpenFile>(file);
  if (open == nullptr) return Fail(ERROR_INVALID_HANDLE);
  if (!open->Writes()) return Fail(ERROR_ACCESS_DENIED);
  while (*written < size) {
    const ssize_t count =
        write(open->Descriptor(), static_cast<const char*>(data) + *written, size - *written);
    // When the disk is full the count tells what still went out.
    if (count < 0 && errno != EINTR) return Fail(Lab::ErrorOfHost(errno));
    if (count > 0) *written += static_cast<DWORD>(count);
  }
  return TRUE;
}

DWORD GetFileSize(HANDLE file, LPDWORD sizeHigh) {
  const Lab::Call call("GetFileSize");
  if (call.FailsByPlan()) return INVALID_FILE_SIZE;
  const LONGLONG size = SizeOf(file);
  if (size < 0) {
    SetLastError(ERROR_INVALID_HANDLE);
    return INVALID_FILE_SIZE;
  }
  const auto low = static_cast<DWORD>(size & 0xFFFFFFFF);
  if (sizeHigh != nullptr) *sizeHigh = static_cast<DWORD>(size >> 32);
  // The one size that looks like a failure is told apart by the code.
  if (low == INVALID_FILE_SIZE) SetLastError(ERROR_SUCCESS);
  return low;
}

BOOL GetFileSizeEx(HANDLE file, PLARGE_INTEGER size) {
  const Lab::Call call("GetFileSizeEx");
  if (call.FailsByPlan()) return FALSE;
  LAB_SUPPORTS(size != nullptr);
  const LONGLONG bytes = SizeOf(file);
  if (bytes < 0) return Fail(ERROR_INVALID_HANDLE);
  size->QuadPart = bytes;
  return TRUE;
}
