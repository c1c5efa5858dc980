#include "security/existing_path.h"

#include "core/logging.h"
#include "host/windows_api.h"

namespace Halvard::Security {
namespace {

/// \param normalised  The path with a backslash at its end, unless it is empty.
bool Normalise(const std::wstring& path, std::wstring& normalised) {
  LogScope log;
  // The system's own functions take more than fits on some versions, so the room is tested first.
  wchar_t buffer[MAX_PATH + 2] = {};
  if (path.size() >= MAX_PATH || wcscpy_s(buffer, MAX_PATH, path.c_str()) != 0) {
    log.Error(L"LongestPathThatExists: Failed to copy the input string to buffer.");
    return false;
  }
  const bool isFull = path.size() == MAX_PATH - 1 && !path.ends_with(L'\\');
  if (isFull || PathAddBackslashW(buffer) == nullptr) {
    log.Error(L"LongestPathThatExists: Failed to add backslash using PathAddBackslash().");
    return false;
  }
  normalised = buffer;
  return true;
}

enum class Found { kFolder, kNothing, kDenied, kUnusable };

/// \param prefix  With a backslash at its end.
/// \return What is neither a folder nor nothing is logged.
Found LookAt(const std::wstring& prefix) {
  const DWORD attributes = GetFileAttributesW(NameOfFolder(prefix).c_str());
  const DWORD error = GetLastError();
  const bool exists = attributes != INVALID_FILE_ATTRIBUTES;
  if (exists && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) return Found::kFolder;
  LogScope log;
  if (exists) {
    log.Error(L"LongestPathThatExists: \"%ws\" is not a directory: 0x%08x", prefix.c_str(),
              attributes);
    return Found::kUnusable;
  }
  if (error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND) return Found::kNothing;
  if (error == ERROR_ACCESS_DENIED) {
    log.Error(L"LongestPathThatExists: Lack permission on directory \"%ws\", failed",
              prefix.c_str());
    return Found::kDenied;
  }
  log.Error(L"LongestPathThatExists: Unexpected error on directory \"%ws\": %d", prefix.c_str(),
            error);
  return Found::kUnusable;
}

}  // namespace

std::wstring NameOfFolder(const std::wstring& folder) {
  if (folder.size() < 2 || !folder.ends_with(L'\\')) return folder;
  const wchar_t before = folder[folder.size() - 2];
  // "C:" would be the current folder of the drive, and "\" of "\\" a root of its own.
  if (before == L':' || before == L'\\') return folder;
  return folder.substr(0, folder.size() - 1);
}

bool LongestPathThatExists(const std::wstring& path, std::wstring& longest, bool& wholeExists) {
  LogScope log;
  longest.clear();
  wholeExists = false;
  std::wstring normalised;
  if (!Normalise(path, normalised)) return false;
  for (std::size_t end = normalised.find(L'\\'); end != std::wstring::npos;
       end = normalised.find(L'\\', end + 1)) {
    const std::wstring prefix = normalised.substr(0, end + 1);
    const Found found = LookAt(prefix);
    if (found == Found::kFolder || found == Found::kDenied) longest = prefix;
    if (found == Found::kDenied || found == Found::kUnusable) return false;
    if (found == Found::kFolder) continue;
    if (!longest.empty()) return true;
    log.Error(L"LongestPathThatExists: Failed to find any part of \"%ws\"", normalised.c_str());
    return false;
  }
  if (longest != normalised) {
    log.Error(L"LongestPathThatExists: Unexpected mismatch: \"%ws\" vs. \"%ws\"", longest.c_str(),
              normalised.c_str());
    return false;
  }
  wholeExists = true;
  return true;
}

}  // namespace Halvard::Security
