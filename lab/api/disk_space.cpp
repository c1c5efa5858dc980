// Room on the machine's disks.
#include <sys/statvfs.h>

#include <cerrno>
#include <filesystem>

#include "api/failure.h"
#include "errhandlingapi.h"
#include "fileapi.h"
#include "files/host_errors.h"
#include "machine/call.h"
#include "machine/machine.h"
#include "machine/paths.h"
#include "winerror.h"

namespace {

/// \return 0, or the system error code.
DWORD FreeBytes(const std::wstring& path, std::uint64_t& bytes) {
  const Lab::FoundPath found = Lab::FindPath(path);
  if (found.error != ERROR_SUCCESS) return found.error;
  if (!std::filesystem::is_directory(found.host)) return ERROR_DIRECTORY;
  const auto& described = Lab::TheMachine().Describe().freeBytes;
  if (const auto disk = described.find(Lab::FullPath(path).front()); disk != described.end()) {
    bytes = disk->second;
    return ERROR_SUCCESS;
  }
  struct statvfs room = {};
  if (statvfs(found.host.c_str(), &room) != 0) return Lab::ErrorOfHost(errno);
  bytes = std::uint64_t{room.f_bavail} * room.f_frsize;
  return ERROR_SUCCESS;
}

}  // namespace

BOOL WINAPI GetDiskFreeSpaceExW(LPCWSTR folder, PULARGE_INTEGER freeToCaller, PULARGE_INTEGER total,
                                PULARGE_INTEGER totalFree) {
  LAB_SUPPORTS(folder != nullptr);
  const Lab::Call call("GetDiskFreeSpaceExW", folder);
  if (call.FailsByPlan()) return FALSE;
  LAB_SUPPORTS(freeToCaller != nullptr && total == nullptr && totalFree == nullptr);
  std::uint64_t bytes = 0;
  const DWORD error = FreeBytes(folder, bytes);
  if (error != ERROR_SUCCESS) return Lab::Fail(error);
  freeToCaller->QuadPart = bytes;
  return TRUE;
}
