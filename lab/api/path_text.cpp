// Paths as text, in buffers of MAX_PATH characters.
#include <cwchar>
#include <string>
#include <vector>

#include "fileapi.h"
#include "machine/call.h"
#include "shlwapi.h"

namespace {

bool HasDrive(std::wstring_view path) { return path.size() >= 2 && path[1] == L':'; }

bool IsNetworkPath(std::wstring_view path) { return path.starts_with(L"\\\\"); }

/// \return Length of the part that no removal may cut: "C:\", "\\", "\" or nothing.
std::size_t RootLength(std::wstring_view path) {
  if (HasDrive(path)) return path.size() > 2 && path[2] == L'\\' ? 3 : 2;
  if (IsNetworkPath(path)) return 2;
  return path.starts_with(L'\\') ? 1 : 0;
}

/// Removes "." and "name\.." from what follows the root.
std::wstring Canonical(const std::wstring& path) {
  const std::size_t root = RootLength(path);
  std::vector<std::wstring> parts;
  std::size_t at = root;
  while (at <= path.size()) {
    const std::size_t end = std::min(path.find(L'\\', at), path.size());
    const std::wstring part = path.substr(at, end - at);
    if (part == L"..") {
      if (!parts.empty()) parts.pop_back();
    } else if (part != L".") {
      parts.push_back(part);
    }
    at = end + 1;
  }
  std::wstring result = path.substr(0, root);
  for (std::size_t i = 0; i < parts.size(); ++i) result += (i == 0 ? L"" : L"\\") + parts[i];
  // What is left of "C:\x\.." is the root itself.
  if (result.size() == 2 && HasDrive(result)) result += L'\\';
  return result;
}

std::wstring Joined(std::wstring path, std::wstring more) {
  if (HasDrive(more) || IsNetworkPath(more)) return more;
  // A second part that begins at the root is joined all the same.
  if (more.starts_with(L'\\')) more.erase(0, 1);
  if (!path.empty() && !path.ends_with(L'\\') && !more.empty()) path += L'\\';
  return path + more;
}

}  // namespace

LPWSTR PathAddBackslashW(LPWSTR path) {
  const Lab::Call call("PathAddBackslashW");
  if (call.FailsByPlan()) return nullptr;
  LAB_SUPPORTS(path != nullptr);
  const std::size_t length = std::wcslen(path);
  if (length == 0) return path;
  if (path[length - 1] == L'\\') return path + length;
  if (length + 2 > MAX_PATH) return nullptr;
  path[length] = L'\\';
  path[length + 1] = 0;
  return path + length + 1;
}

BOOL PathRemoveFileSpecW(LPWSTR path) {
  const Lab::Call call("PathRemoveFileSpecW");
  if (call.FailsByPlan()) return FALSE;
  LAB_SUPPORTS(path != nullptr);
  const std::wstring_view text(path);
  const std::size_t root = RootLength(text);
  std::size_t cut = text.rfind(L'\\');
  if (cut == std::wstring_view::npos || cut < root) cut = root;
  if (cut >= text.size()) return FALSE;
  path[cut] = 0;
  return TRUE;
}

BOOL PathAppendW(LPWSTR path, LPCWSTR more) {
  const Lab::Call call("PathAppendW");
  if (call.FailsByPlan()) return FALSE;
  LAB_SUPPORTS(path != nullptr && more != nullptr);
  const std::wstring joined = Canonical(Joined(path, more));
  if (joined.size() >= MAX_PATH) {
    path[0] = 0;
    return FALSE;
  }
  joined.copy(path, joined.size());
  path[joined.size()] = 0;
  return TRUE;
}

BOOL PathFileExistsW(LPCWSTR path) {
  const Lab::Call call("PathFileExistsW", path == nullptr ? L"" : path);
  if (call.FailsByPlan()) return FALSE;
  if (path == nullptr) return FALSE;
  return GetFileAttributesW(path) != INVALID_FILE_ATTRIBUTES;
}
