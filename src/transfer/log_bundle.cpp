#include "transfer/log_bundle.h"

#include "core/log_file.h"
#include "core/logging.h"
#include "host/files.h"
#include "host/windows_api.h"
#include "runner/runner_files.h"
#include "transfer/shell_zip.h"

namespace Halvard::Transfer {
namespace {

bool IsFolder(const std::wstring& path) {
  const DWORD attributes = GetFileAttributesW(path.c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

/// Makes the runner's folder where there is none, since the runner has never run. A failure shows
/// again at the first file that is to go in.
void EnsureFolder(LogScope& log, const std::wstring& folder) {
  if (IsFolder(folder) || CreateDirectoryW(folder.c_str(), nullptr)) return;
  log.Error(L"CreateLogsZipBundle: Failed to create %s directory.", folder.c_str());
}

}  // namespace

bool CreateLogsZipBundle(const std::wstring& zipFile) {
  LogScope log;
  (void)DeleteFileW(zipFile.c_str());
  if (!CreateEmptyZipFile(zipFile)) return false;
  const std::wstring folder = GetTempDirectory() + Runner::kLogFolder;
  EnsureFolder(log, folder);
  const std::wstring ownLog = GetTempDirectory() + kLogFileName;
  const std::wstring copy = folder + L"\\" + kLogFileName;
  constexpr BOOL kOverwrite = FALSE;
  if (!CopyFileW(ownLog.c_str(), copy.c_str(), kOverwrite)) {
    log.Error(L"CreateLogsZipBundle: Failed to copy %s file to the %s directory.", ownLog.c_str(),
              folder.c_str());
    return false;
  }
  if (!Host::RemoveEmptySubDirectories(folder)) {
    log.Error(L"CreateLogsZipBundle: Failed to remove empty sub-directories in the %s directory.",
              folder.c_str());
    return false;
  }
  if (!ZipDirectory(folder, zipFile, false)) {
    log.Error(L"CreateLogsZipBundle: Failed to zip the %s directory", folder.c_str());
    return false;
  }
  (void)DeleteFileW(copy.c_str());
  return true;
}

}  // namespace Halvard::Transfer
