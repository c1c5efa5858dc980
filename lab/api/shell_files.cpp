// The shell's deletion of files and whole folders.
#include <filesystem>
#include <string>
#include <system_error>

#include "files/find.h"
#include "files/removal.h"
#include "machine/call.h"
#include "machine/paths.h"
#include "machine/text.h"
#include "shellapi.h"
#include "winerror.h"

namespace {

namespace fs = std::filesystem;

// The shell's own codes; they aren't codes of the system.
constexpr int kPathNotFound = 124;
constexpr int kAccessDenied = 120;

int ShellCode(DWORD error) {
  switch (error) {
    case ERROR_PATH_NOT_FOUND:
      return kPathNotFound;
    case ERROR_ACCESS_DENIED:
      return kAccessDenied;
    default:
      return static_cast<int>(error);
  }
}

/// Deletes a file, a link or a folder with all below it. Ends at the first thing that can't go.
/// \return 0, or the system error code.
DWORD DeleteTree(const fs::path& place) {
  std::error_code ignored;
  const fs::file_status status = fs::symlink_status(place, ignored);
  if (!fs::is_directory(status)) return Lab::DeleteFileAt(place, true);
  for (const fs::directory_entry& entry : fs::directory_iterator(place, ignored)) {
    const DWORD error = DeleteTree(entry.path());
    if (error != ERROR_SUCCESS) return error;
  }
  return Lab::RemoveFolderAt(place, true);
}

/// Deletes what fits a pattern in the last part of a path; nothing to delete is no failure.
int DeleteMatching(const Lab::SplitPath& path) {
  const Lab::FoundPath folder = Lab::FindPath(path.folder);
  if (folder.error != ERROR_SUCCESS) return kPathNotFound;
  for (const std::wstring& name : Lab::NamesIn(folder.host, path.name)) {
    const DWORD error = DeleteTree(folder.host / Lab::ToUtf8(name));
    if (error != ERROR_SUCCESS) return ShellCode(error);
  }
  return 0;
}

int DeleteItem(std::wstring path) {
  if (Lab::HasWildcards(path)) return DeleteMatching(Lab::SplitAtLastSeparator(path));
  while (path.ends_with(L'\\')) path.pop_back();
  const Lab::FoundPath found = Lab::FindPath(path);
  if (found.error != ERROR_SUCCESS) return ShellCode(found.error);
  return ShellCode(DeleteTree(found.host));
}

}  // namespace

int SHFileOperationW(LPSHFILEOPSTRUCTW operation) {
  LAB_SUPPORTS(operation != nullptr && operation->pFrom != nullptr);
  const Lab::Call call("SHFileOperationW", operation->pFrom);
  if (call.PlannedError()) return static_cast<int>(*call.PlannedError());
  LAB_SUPPORTS(operation->wFunc == FO_DELETE && operation->pTo == nullptr);
  LAB_SUPPORTS(operation->fFlags ==
               (FOF_SILENT | FOF_NOCONFIRMATION | FOF_NOCONFIRMMKDIR | FOF_NOERRORUI));
  operation->fAnyOperationsAborted = FALSE;
  // The list of paths ends in an empty one.
  for (const wchar_t* item = operation->pFrom; *item != 0; item += std::wcslen(item) + 1) {
    // A path without a drive would depend on the folder that another thread may change.
    LAB_SUPPORTS(std::wstring_view(item).find(L":\\") == 1);
    if (const int code = DeleteItem(item); code != 0) return code;
  }
  return 0;
}
