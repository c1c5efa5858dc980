// Takes the place of the imports of CreateSymbolicLinkW and RemoveDirectoryW in a program that is
// tested under Wine.
//
// Wine answers that a link was made and makes none. It shows a link of the host as one, but its
// RemoveDirectoryW removes the folder behind it. These make links of the host and remove them.
#include <windows.h>

#include <string>

#include "host_paths.h"
#include "host_run.h"
#include "wines_own.h"

namespace {

std::wstring WithoutBackslash(std::wstring path) {
  while (path.ends_with(L'\\')) path.pop_back();
  return path;
}

BOOLEAN Refuse(DWORD error) {
  SetLastError(error);
  return FALSE;
}

bool IsThere(const std::wstring& path) {
  return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

BOOLEAN WINAPI MakeSymbolicLink(LPCWSTR link, LPCWSTR target, DWORD /*flags*/) {
  const DWORD before = GetLastError();
  const std::wstring path = WithoutBackslash(link);
  if (!IsThere(path.substr(0, path.rfind(L'\\') + 1))) return Refuse(ERROR_PATH_NOT_FOUND);
  if (IsThere(path)) return Refuse(ERROR_ALREADY_EXISTS);
  const int code = Supplied::RunOnHost({"/usr/bin/ln", "-s", "-T", "--",
                                        Lab::Wine::HostPath(WithoutBackslash(target)),
                                        Lab::Wine::HostPath(path)});
  if (code != 0) return Refuse(ERROR_ACCESS_DENIED);
  SetLastError(before);
  return TRUE;
}

/// \return False when there is no link of this name.
bool RemoveLink(const std::wstring& path) {
  const std::string place = Lab::Wine::HostPath(path);
  return !place.empty() &&
         Supplied::RunOnHost({"/bin/sh", "-c", "[ -L \"$1\" ] && rm -- \"$1\"", "sh", place}) == 0;
}

BOOL WINAPI RemoveFolderOrLink(LPCWSTR folder) {
  static const auto remove =
      Supplied::WinesOwn<decltype(&RemoveDirectoryW)>(L"kernel32.dll", "RemoveDirectoryW");
  const DWORD before = GetLastError();
  const bool removed = folder != nullptr && RemoveLink(WithoutBackslash(folder));
  SetLastError(before);
  if (removed) return TRUE;
  return remove(folder);
}

}  // namespace

// What calls of imported functions go through. The linker takes these before it looks into the
// import libraries.
extern "C" {
decltype(&CreateSymbolicLinkW) __imp_CreateSymbolicLinkW = MakeSymbolicLink;
decltype(&RemoveDirectoryW) __imp_RemoveDirectoryW = RemoveFolderOrLink;
}
