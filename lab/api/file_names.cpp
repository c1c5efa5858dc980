// What is done to files and folders by their names.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <string_view>
#include <vector>

#include "api/failure.h"
#include "files/attributes.h"
#include "files/host_errors.h"
#include "files/open_file.h"
#include "files/removal.h"
#include "machine/call.h"
#include "machine/machine.h"
#include "machine/paths.h"
#include "machine/text.h"
#include "windows.h"

namespace {

using Lab::Answer;

namespace fs = std::filesystem;
using Lab::OpenFile;

bool EndsInSeparator(std::wstring_view path) {
  return path.ends_with(L'\\') || path.ends_with(L'/');
}

/// Copies the bytes of one open file to another.
DWORD CopyBytes(int source, int target) {
  std::vector<char> block(1 << 16);
  for (;;) {
    const ssize_t count = read(source, block.data(), block.size());
    if (count < 0) return Lab::ErrorOfHost(errno);
    if (count == 0) return ERROR_SUCCESS;
    for (ssize_t done = 0; done < count;) {
      const ssize_t written =
          write(target, block.data() + done, static_cast<std::size_t>(count - done));
      if (written < 0) return Lab::ErrorOfHost(errno);
      done += written;
    }
  }
}

/// The copy has the attributes and the time of the last change of its source.
void CopyAttributes(int source, int target) {
  struct stat status = {};
  if (fstat(source, &status) != 0) return;
  fchmod(target, Lab::HostMode(Lab::IsReadOnly(status) ? FILE_ATTRIBUTE_READONLY : 0));
  const timespec times[] = {{0, UTIME_OMIT}, status.st_mtim};
  futimens(target, times);
}

DWORD CopyBetween(const fs::path& source, const fs::path& target, bool failIfExists) {
  OpenFile::Request reading;
  reading.access = FILE_SHARE_READ;
  reading.share = FILE_SHARE_READ | FILE_SHARE_WRITE;
  const OpenFile::Result from = OpenFile::Open(source, reading);
  if (from.file == nullptr) return from.error;

  OpenFile::Request writing;
  writing.access = FILE_SHARE_WRITE;
  writing.mayCreate = true;
  writing.mayExist = !failIfExists;
  writing.truncates = true;
  const OpenFile::Result to = OpenFile::Open(target, writing);
  if (to.file == nullptr) return to.error;

  const DWORD error = CopyBytes(from.file->Descriptor(), to.file->Descriptor());
  if (error == ERROR_SUCCESS) {
    CopyAttributes(from.file->Descriptor(), to.file->Descriptor());
  }
  return error;
}

/// Where a link to the path has to lead on the host. The target needn't exist, not even the folders
/// above it.
fs::path LinkTarget(const std::wstring& path) {
  const Lab::FoundPath found = Lab::FindPath(path);
  if (!found.host.empty()) return found.host;
  const std::size_t cut = path.rfind(L'\\');
  // A drive that isn't there: the link leads nowhere, as it would on Windows.
  if (cut == std::wstring::npos) return Lab::ToUtf8(path);
  return LinkTarget(path.substr(0, cut)) / Lab::ToUtf8(path.substr(cut + 1));
}

/// What a folder has beside what the host's has. The root of each drive is hidden and the system's.
DWORD DescribedAttributes(std::wstring_view name) {
  std::wstring path = Lab::FullPath(name);
  const bool isRoot = path.size() <= 3;
  if (!isRoot && path.ends_with(L'\\')) path.pop_back();
  const auto& described = Lab::TheMachine().Describe().folders.attributes;
  const auto found = described.find(path);
  const DWORD attributes = found == described.end() ? 0 : found->second;
  return isRoot ? attributes | FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM : attributes;
}

bool IsCurrentFolder(const fs::path& place) {
  const Lab::FoundPath current = Lab::FindPath(Lab::TheMachine().Describe().currentDirectory);
  return current.error == ERROR_SUCCESS && current.host == place;
}

}  // namespace

BOOL DeleteFileW(LPCWSTR name) {
  LAB_SUPPORTS(name != nullptr);
  const Lab::Call call("DeleteFileW", name);
  if (call.FailsByPlan()) return FALSE;
  const Lab::FoundPath found = Lab::FindPath(name);
  return Answer(found.error != ERROR_SUCCESS ? found.error : Lab::DeleteFileAt(found.host, false));
}

DWORD GetFileAttributesW(LPCWSTR name) {
  LAB_SUPPORTS(name != nullptr);
  const Lab::Call call("GetFileAttributesW", name);
  if (call.FailsByPlan()) return INVALID_FILE_ATTRIBUTES;
  const Lab::FoundPath found = Lab::FindPath(name);
  struct stat status = {};
  DWORD error = found.error;
  if (error == ERROR_SUCCESS && lstat(found.host.c_str(), &status) != 0) {
    error = Lab::ErrorOfHost(errno);
  }
  if (!Answer(error)) return INVALID_FILE_ATTRIBUTES;
  return Lab::AttributesOf(found.host, status) | DescribedAttributes(name);
}

BOOL CopyFileW(LPCWSTR source, LPCWSTR target, BOOL failIfExists) {
  LAB_SUPPORTS(source != nullptr && target != nullptr);
  const Lab::Call call("CopyFileW", source);
  if (call.FailsByPlan()) return FALSE;
  const Lab::FoundPath from = Lab::FindPath(source);
  if (from.error != ERROR_SUCCESS) return Answer(from.error);
  const Lab::FoundPath to = Lab::FindPath(target);
  if (to.error != ERROR_SUCCESS && to.error != ERROR_FILE_NOT_FOUND) return Answer(to.error);
  const DWORD error = CopyBetween(from.host, to.host, failIfExists != FALSE);
  // Success sets the code, too.
  SetLastError(error);
  return error == ERROR_SUCCESS;
}

BOOL CreateDirectoryW(LPCWSTR name, LPSECURITY_ATTRIBUTES attributes) {
  LAB_SUPPORTS(name != nullptr && attributes == nullptr);
  const Lab::Call call("CreateDirectoryW", name);
  if (call.FailsByPlan()) return FALSE;
  const Lab::FoundPath found = Lab::FindPath(name);
  if (found.error == ERROR_SUCCESS) return Answer(ERROR_ALREADY_EXISTS);
  if (found.error != ERROR_FILE_NOT_FOUND) return Answer(found.error);
  return Answer(mkdir(found.host.c_str(), 0777) == 0 ? ERROR_SUCCESS : Lab::ErrorOfHost(errno));
}

BOOL RemoveDirectoryW(LPCWSTR name) {
  LAB_SUPPORTS(name != nullptr);
  const Lab::Call call("RemoveDirectoryW", name);
  if (call.FailsByPlan()) return FALSE;
  std::wstring path(name);
  while (path.size() > 3 && EndsInSeparator(path)) path.pop_back();
  const Lab::FoundPath found = Lab::FindPath(path);
  if (found.error != ERROR_SUCCESS) return Answer(found.error);
  if (IsCurrentFolder(found.host)) return Answer(ERROR_SHARING_VIOLATION);
  return Answer(Lab::RemoveFolderAt(found.host, false));
}

BOOLEAN CreateSymbolicLinkW(LPCWSTR link, LPCWSTR target, DWORD flags) {
  LAB_SUPPORTS(link != nullptr && target != nullptr && flags == SYMBOLIC_LINK_FLAG_DIRECTORY);
  const Lab::Call call("CreateSymbolicLinkW", link);
  if (call.FailsByPlan()) return FALSE;
  LAB_SUPPORTS(std::wstring_view(target).find(L":\\") == 1);
  if (!Lab::TheMachine().Describe().UserIsAdministrator())
    return static_cast<BOOLEAN>(Answer(ERROR_PRIVILEGE_NOT_HELD));
  const Lab::FoundPath found = Lab::FindPath(link);
  if (found.error == ERROR_SUCCESS) return static_cast<BOOLEAN>(Answer(ERROR_ALREADY_EXISTS));
  if (found.error != ERROR_FILE_NOT_FOUND) return static_cast<BOOLEAN>(Answer(found.error));
  const bool made = symlink(LinkTarget(target).c_str(), found.host.c_str()) == 0;
  return static_cast<BOOLEAN>(Answer(made ? DWORD{ERROR_SUCCESS} : Lab::ErrorOfHost(errno)));
}
