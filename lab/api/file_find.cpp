// FindFirstFileW and its kin.
#include "files/find.h"

#include <filesystem>

#include "api/failure.h"
#include "machine/call.h"
#include "machine/machine.h"
#include "machine/paths.h"
#include "windows.h"

namespace {

using Lab::Fail;
using Lab::FailToOpen;

namespace fs = std::filesystem;

bool IsDriveRoot(const fs::path& place) {
  return place.parent_path() == Lab::TheMachine().Folder();
}

/// The folder itself and the one above come first, but not in the root of a drive.
std::vector<std::wstring> NamesFor(const fs::path& folder, const std::wstring& pattern) {
  std::vector<std::wstring> names = Lab::NamesIn(folder, pattern);
  if (IsDriveRoot(folder) || !Lab::HasWildcards(pattern)) return names;
  if (Lab::MatchesPattern(L"..", pattern)) names.insert(names.begin(), L"..");
  if (Lab::MatchesPattern(L".", pattern)) names.insert(names.begin(), L".");
  return names;
}

}  // namespace

HANDLE FindFirstFileW(LPCWSTR pattern, LPWIN32_FIND_DATAW entry) {
  LAB_SUPPORTS(pattern != nullptr && entry != nullptr);
  const Lab::Call call("FindFirstFileW", pattern);
  if (call.FailsByPlan()) return INVALID_HANDLE_VALUE;
  const Lab::SplitPath path = Lab::SplitAtLastSeparator(pattern);
  std::wstring folder = path.folder.empty() ? L"." : path.folder;
  // Without its separator a file in the folder's place is told from a missing one.
  if (folder.size() > 3) folder.pop_back();
  const Lab::FoundPath found = Lab::FindPath(folder);
  if (found.error == ERROR_FILE_NOT_FOUND) return FailToOpen(ERROR_PATH_NOT_FOUND);
  if (found.error != ERROR_SUCCESS) return FailToOpen(found.error);
  if (!fs::is_directory(found.host)) return FailToOpen(ERROR_DIRECTORY);

  auto find = std::make_shared<Lab::Find>(found.host, NamesFor(found.host, path.name));
  if (!find->Next(*entry)) return FailToOpen(ERROR_FILE_NOT_FOUND);
  return Lab::Handles().Add(std::move(find));
}

BOOL FindNextFileW(HANDLE handle, LPWIN32_FIND_DATAW entry) {
  const Lab::Call call("FindNextFileW");
  if (call.FailsByPlan()) return FALSE;
  LAB_SUPPORTS(entry != nullptr);
  const auto find = Lab::Handles().FindAs<Lab::Find>(handle);
  if (find != nullptr && find->Next(*entry)) return TRUE;
  return Fail(find == nullptr ? ERROR_INVALID_HANDLE : ERROR_NO_MORE_FILES);
}

BOOL FindClose(HANDLE handle) {
  const Lab::Call call("FindClose");
  if (call.FailsByPlan()) return FALSE;
  if (Lab::Handles().FindAs<Lab::Find>(handle) != nullptr) return Lab::Handles().Close(handle);
  return Fail(ERROR_INVALID_HANDLE);
}
