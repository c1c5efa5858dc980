#include "security/export_directory.h"

#include <cstdint>
#include <string>
#include <vector>

#include "core/console.h"
#include "core/logging.h"
#include "core/messages.h"
#include "core/property_store.h"
#include "host/windows_api.h"
#include "security/path_permissions.h"

namespace Halvard::Security {
namespace {

using Arguments = std::vector<std::wstring>;

void LogInEnglish(unsigned int message, const Arguments& arguments) {
  LogScope log;
  log.Info(L"ValidateExportDir: %s", GetLocalizedStringIn(message, arguments, "en").c_str());
}

void Show(unsigned int message, const Arguments& arguments) {
  PrintLine(GetLocalizedString(message, arguments));
}

/// Logs a message and shows it.
/// \return False, for the caller to hand on.
bool Refuse(unsigned int message, const Arguments& arguments = {}) {
  LogInEnglish(message, arguments);
  Show(message, arguments);
  return false;
}

/// Makes the folder where it isn't there yet.
bool Provide(const std::wstring& folder) {
  if (PathFileExistsW(folder.c_str())) return true;
  LogScope log;
  log.Warn(L"ValidateExportDir: Non-existent export directory \"%s\"was passed as input.",
           folder.c_str());
  const int result = SHCreateDirectoryExW(nullptr, folder.c_str(), nullptr);
  if (result == ERROR_SUCCESS || result == ERROR_FILE_EXISTS || result == ERROR_ALREADY_EXISTS) {
    return true;
  }
  log.Error(L"ValidateExportDir: Failed to create export directory at %s: %d", folder.c_str(),
            result);
  return false;
}

/// \param[out] mebibytes  What the folder's disk has left for this user.
bool ReadFreeSpace(const std::wstring& folder, std::uint64_t& mebibytes) {
  ULARGE_INTEGER bytes = {};
  if (GetDiskFreeSpaceExW(folder.c_str(), &bytes, nullptr, nullptr)) {
    mebibytes = bytes.QuadPart >> 20;
    return true;
  }
  const DWORD error = GetLastError();
  LogScope log;
  const std::wstring text = L"Unable to obtain disk free space for export directory: " + folder;
  log.Error(L"ValidateExportDir: %s: %u", text.c_str(), error);
  Show(1001, {folder});
  return false;
}

/// \param required  Mebibytes.
bool HasRoom(const std::wstring& folder, int required) {
  std::uint64_t free = 0;
  if (!ReadFreeSpace(folder, free)) return false;
  gProperties[L"EXPORT_DISK_FREE_SIZE"] = std::to_wstring(free);
  LogScope log;
  log.Info(L"ValidateExportDir: Required space: %d; FreeSpace: %d", required,
           static_cast<int>(free));
  if (required <= static_cast<std::int64_t>(free)) return true;
  const Arguments sizes = {folder, std::to_wstring(required), std::to_wstring(free)};
  Show(1002, sizes);
  LogInEnglish(1002, sizes);
  return false;
}

}  // namespace

bool DirectoryPermissionCheck() {
  LogScope log;
  const std::wstring folder = gProperties[L"EXPORT_DIR"];
  log.Info(L"DirectoryPermissionCheck: Will check export dir: \"%ws\"", folder.c_str());
  PathPermissions has;
  if (!GetDirectoryAccess(folder, has)) {
    log.Error(L"DirectoryPermissionCheck: Failed to lookup export path permissions.");
    return false;
  }
  // Nothing is run out of the folder.
  if (has.read && has.write && has.acl && has.deleteSelf && has.deleteChild) return true;
  log.Error(L"DirectoryPermissionCheck: Halvard lacks required permissions in export path");
  return false;
}

bool ValidateExportDir() {
  const int required = _wtoi(gProperties[L"EXPORT_DISK_REQ_SIZE"].Value().c_str());
  const std::wstring folder = gProperties[L"EXPORT_DIR"];
  if (folder.empty()) return Refuse(1007);
  if (!Provide(folder)) return false;
  if (!DirectoryPermissionCheck()) return Refuse(1038, {folder});
  return HasRoom(folder, required);
}

}  // namespace Halvard::Security
