// Scratch folders of the Windows program.
#include "scratch_folder.h"

namespace WindowsApi {

std::wstring ParentOfScratchFolders() {
  wchar_t path[MAX_PATH + 1] = {};
  GetTempPathW(MAX_PATH + 1, path);
  std::wstring parent(path);
  if (parent.ends_with(L'\\')) parent.pop_back();
  return parent;
}

void MakeFolderAt(const std::wstring& path) { CreateDirectoryW(path.c_str(), nullptr); }

void SetReadOnly(const std::wstring& path, bool readOnly) {
  SetFileAttributesW(path.c_str(), readOnly ? FILE_ATTRIBUTE_READONLY : FILE_ATTRIBUTE_NORMAL);
}

void RenameAt(const std::wstring& path, const std::wstring& newPath) {
  MoveFileExW(path.c_str(), newPath.c_str(), MOVEFILE_REPLACE_EXISTING);
}

void RemoveTree(const std::wstring& path) {
  const std::wstring list = path + std::wstring(2, L'\0');
  SHFILEOPSTRUCTW operation = {};
  operation.wFunc = FO_DELETE;
  operation.pFrom = list.c_str();
  operation.fFlags = FOF_SILENT | FOF_NOCONFIRMATION | FOF_NOERRORUI;
  SHFileOperationW(&operation);
}

}  // namespace WindowsApi
