// The shell's way to make a folder with all above it.
#include <sys/stat.h>

#include <cerrno>
#include <filesystem>
#include <string>

#include "files/host_errors.h"
#include "machine/call.h"
#include "machine/paths.h"
#include "shlobj.h"
#include "winerror.h"

namespace {

/// From this length on a folder's name would leave no room for a short name of a file in it.
constexpr std::size_t kTooLong = 248;

DWORD MakeWithParents(std::wstring path) {
  while (path.size() > 3 && path.ends_with(L'\\')) path.pop_back();
  const Lab::FoundPath found = Lab::FindPath(path);
  // A file of the name is as good as a folder here.
  if (found.error == ERROR_SUCCESS) return ERROR_ALREADY_EXISTS;
  if (found.error == ERROR_FILE_NOT_FOUND) {
    return mkdir(found.host.c_str(), 0777) == 0 ? DWORD{ERROR_SUCCESS} : Lab::ErrorOfHost(errno);
  }
  const std::size_t cut = path.rfind(L'\\');
  if (found.error != ERROR_PATH_NOT_FOUND || cut <= 2) return found.error;
  const std::wstring parent = path.substr(0, cut);
  const DWORD error = MakeWithParents(parent);
  if (error != ERROR_SUCCESS && error != ERROR_ALREADY_EXISTS) return error;
  const Lab::FoundPath folder = Lab::FindPath(parent);
  if (!std::filesystem::is_directory(folder.host)) return ERROR_PATH_NOT_FOUND;
  return MakeWithParents(path);
}

}  // namespace

int WINAPI SHCreateDirectoryExW(HWND window, LPCWSTR path, const SECURITY_ATTRIBUTES* attributes) {
  LAB_SUPPORTS(path != nullptr);
  const Lab::Call call("SHCreateDirectoryExW", path);
  if (call.PlannedError()) return static_cast<int>(*call.PlannedError());
  LAB_SUPPORTS(window == nullptr && attributes == nullptr);
  const std::wstring wanted = path;
  if (wanted.find(L":\\") != 1) return ERROR_BAD_PATHNAME;
  if (wanted.size() >= kTooLong) return ERROR_FILENAME_EXCED_RANGE;
  return static_cast<int>(MakeWithParents(wanted));
}
