// Scratch folders on the lab's machine, over the host's own files.
#include <filesystem>

#include "machine/paths.h"
#include "scratch_folder.h"

namespace WindowsApi {

namespace fs = std::filesystem;

std::wstring ParentOfScratchFolders() { return L"C:"; }

void MakeFolderAt(const std::wstring& path) { fs::create_directory(Lab::HostPath(path)); }

void SetReadOnly(const std::wstring& path, bool readOnly) {
  const fs::perms writing =
      fs::perms::owner_write | fs::perms::group_write | fs::perms::others_write;
  fs::permissions(Lab::HostPath(path), readOnly ? writing : fs::perms::owner_write,
                  readOnly ? fs::perm_options::remove : fs::perm_options::add);
}

void RenameAt(const std::wstring& path, const std::wstring& newPath) {
  fs::rename(Lab::HostPath(path), Lab::HostPath(newPath));
}

void RemoveTree(const std::wstring& path) { fs::remove_all(Lab::HostPath(path)); }

}  // namespace WindowsApi
