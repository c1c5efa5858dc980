#include "host/files.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <memory>
#include <new>

#include "core/logging.h"
#include "core/text.h"
#include "host/unique_resource.h"
#include "host/windows_api.h"

namespace Halvard::Host {
namespace {

/// The bytes up to the first line end, or all of them when there is none.
std::string ReadFirstLine(std::FILE* file) {
  std::string line;
  for (int next = std::fgetc(file); next != EOF && next != '\n'; next = std::fgetc(file)) {
    line.push_back(static_cast<char>(next));
  }
  return line;
}

/// The path as the shell wants it: without a trailing backslash, and with a second zero that ends
/// the list of paths. Null when there is no memory for it.
std::unique_ptr<wchar_t[]> MakePathList(std::wstring path) {
  constexpr std::size_t kDriveRoot = 3;
  while (path.size() > kDriveRoot && path.ends_with(L'\\')) path.pop_back();
  std::unique_ptr<wchar_t[]> list(new (std::nothrow) wchar_t[path.size() + 2]);
  if (list != nullptr) {
    wchar_t* end = std::copy(path.begin(), path.end(), list.get());
    std::fill_n(end, 2, L'\0');
  }
  return list;
}

bool IsSubDirectory(const WIN32_FIND_DATAW& entry) {
  const std::wstring name = entry.cFileName;
  return (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0 && name != L"." && name != L"..";
}

}  // namespace

std::wstring GetHVLocalAppDataFolder() {
  LogScope log;
  PWSTR folder = nullptr;
  const HRESULT result = SHGetKnownFolderPath(FOLDERID_LocalAppData, 0, nullptr, &folder);
  const DWORD error = GetLastError();
  const UniqueTaskMemory owner(folder);
  if (result != S_OK) {
    log.Error(L"GetHVLocalAppDataFolder: Failed to get the local app data folder: %d %d", result,
              error);
    return {};
  }
  return std::wstring(folder) + L"\\Ostrel\\Halvard\\";
}

std::wstring GetDesktopFolder() {
  LogScope log;
  PWSTR folder = nullptr;
  const HRESULT result = SHGetKnownFolderPath(FOLDERID_Desktop, 0, nullptr, &folder);
  const DWORD error = GetLastError();
  const UniqueTaskMemory owner(folder);
  if (result != S_OK) {
    log.Warn(L"GetDesktopFolder: Failed to get the desktop folder info: %d %d", result, error);
    return {};
  }
  return std::wstring(folder) + L"\\";
}

std::string GetFileContents(const std::wstring& path) {
  LogScope log;
  // Not a stream of the standard library: those that take a wide path exist on one platform only.
  const UniqueStream file(_wfopen(path.c_str(), L"r"));
  if (!file) {
    log.Error(L"GetFileContents: Failed to open file: %s", path.c_str());
    return {};
  }
  std::string line = ReadFirstLine(file.Get());
  log.Info(L"GetFileContents: Contents from [%s] file is [%s]", path.c_str(),
           Utf8ToWide(line).c_str());
  return line;
}

bool RemoveDirectoryAndContents(const std::wstring& path) {
  LogScope log;
  if (path.empty()) return true;
  const std::unique_ptr<wchar_t[]> removeDir = MakePathList(path);
  if (removeDir == nullptr) {
    log.Error(L"RemoveDirectoryAndContents: removeDir is null.");
    return false;
  }
  log.Info(L"RemoveDirectoryAndContents: Deleting directory: %s", path.c_str());
  SHFILEOPSTRUCTW operation = {};
  operation.wFunc = FO_DELETE;
  operation.pFrom = removeDir.get();
  operation.fFlags = FOF_SILENT | FOF_NOCONFIRMATION | FOF_NOCONFIRMMKDIR | FOF_NOERRORUI;
  // The answer is a code of the shell's own; the last error says nothing.
  const int error = SHFileOperationW(&operation);
  if (error != 0) {
    log.Error(L"RemoveDirectoryAndContents: Failed to delete directory: %s, Error: %d",
              path.c_str(), error);
    return false;
  }
  log.Info(L"RemoveDirectoryAndContents: Successfully deleted directory: %s", path.c_str());
  return true;
}

bool RemoveDirectoryIfEmpty(const std::wstring& path) {
  LogScope log;
  if (RemoveDirectoryW(path.c_str())) {
    log.Info(L"RemoveDirectoryIfEmpty: Successfully deleted empty directory %s.", path.c_str());
    return true;
  }
  const DWORD error = GetLastError();
  if (error == ERROR_DIR_NOT_EMPTY) {
    log.Info(L"RemoveDirectoryIfEmpty: Ignoring non empty directory %s.", path.c_str());
    return true;
  }
  log.Warn(L"RemoveDirectoryIfEmpty: Failed to delete passed directory %s. Error code: %d",
           path.c_str(), error);
  return false;
}

bool RemoveEmptySubDirectories(const std::wstring& path) {
  LogScope log;
  if (path.empty()) {
    log.Warn(L"RemoveEmptySubDirectories: Empty string passed.");
    return true;
  }
  WIN32_FIND_DATAW entry = {};
  UniqueFind find(FindFirstFileW((path + L"\\*").c_str(), &entry));
  if (!find) {
    const DWORD error = GetLastError();
    log.Warn(L"RemoveEmptySubDirectories: Failed to get sub directories for %s. Error code: %d",
             path.c_str(), error);
    return false;
  }
  do {
    if (IsSubDirectory(entry) && !RemoveDirectoryIfEmpty(path + L"\\" + entry.cFileName)) {
      return false;
    }
  } while (FindNextFileW(find.Get(), &entry));
  const DWORD error = GetLastError();
  find.Reset();
  if (error == ERROR_NO_MORE_FILES) return true;
  log.Warn(L"RemoveEmptySubDirectories: Failed to iterate sub directories of %s. Error code: %d",
           path.c_str(), error);
  return false;
}

bool CreateShortSymbolicLink(const std::wstring& target, std::wstring& link) {
  LogScope log;
  link.clear();
  const std::wstring root = target.substr(0, 3);
  wchar_t name[MAX_PATH] = {};
  // Making the file is what finds the free name; a link needs the name without the file.
  if (GetTempFileNameW(root.c_str(), L"mig", 0, name) == 0) {
    log.Error(L"CreateShortSymbolicLink: Failed to get a temporary file name to create symlink.");
    return false;
  }
  if (!DeleteFileW(name)) {
    log.Error(L"CreateShortSymbolicLink: Failed to delete the temp file: %s", name);
    return false;
  }
  if (!CreateSymbolicLinkW(name, target.c_str(), SYMBOLIC_LINK_FLAG_DIRECTORY)) {
    const DWORD error = GetLastError();
    log.Error(
        L"CreateShortSymbolicLink: Failed to create a symbolic link '%s' pointing to '%s'. Error code: %d.",
        name, target.c_str(), error);
    return false;
  }
  link = name;
  log.Info(L"CreateShortSymbolicLink: Symbolic link '%s' created for path '%s'.", name,
           target.c_str());
  return true;
}

}  // namespace Halvard::Host
