// Folders that every machine has somewhere.
#include <cstdlib>
#include <cwchar>
#include <filesystem>
#include <string>

#include "machine/call.h"
#include "machine/machine.h"
#include "machine/paths.h"
#include "shlobj.h"
#include "sysinfoapi.h"
#include "winerror.h"

namespace {

/// \return Path of the folder as the machine's description has it; empty for an unknown one.
std::wstring PathOf(REFKNOWNFOLDERID id) {
  const char* name = nullptr;
  if (id == FOLDERID_LocalAppData) name = "LocalAppData";
  if (id == FOLDERID_Desktop) name = "Desktop";
  if (id == FOLDERID_System) name = "System";
  if (name == nullptr) return {};
  const auto& folders = Lab::TheMachine().Describe().knownFolders;
  const auto folder = folders.find(name);
  return folder == folders.end() ? std::wstring() : folder->second;
}

bool IsFolder(const std::wstring& path) {
  const Lab::FoundPath found = Lab::FindPath(path);
  return found.error == ERROR_SUCCESS && std::filesystem::is_directory(found.host);
}

}  // namespace

HRESULT SHGetKnownFolderPath(REFKNOWNFOLDERID id, DWORD flags, HANDLE token, PWSTR* path) {
  LAB_SUPPORTS(path != nullptr);
  *path = nullptr;
  const Lab::Call call("SHGetKnownFolderPath");
  if (call.PlannedError()) return HRESULT_FROM_WIN32(*call.PlannedError());
  LAB_SUPPORTS(flags == 0 && token == nullptr);
  const std::wstring folder = PathOf(id);
  // A folder that isn't on the disk counts as unknown.
  if (folder.empty() || !IsFolder(folder)) return HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND);
  *path = wcsdup(folder.c_str());
  return S_OK;
}

UINT WINAPI GetSystemDirectoryW(LPWSTR buffer, UINT size) {
  const Lab::Call call("GetSystemDirectoryW");
  if (call.FailsByPlan()) return 0;
  LAB_SUPPORTS(buffer != nullptr);
  const Lab::Variables& variables = Lab::TheMachine().Describe().systemVariables;
  const auto root = variables.find(L"SystemRoot");
  LAB_SUPPORTS(root != variables.end());
  const std::wstring folder = root->second + L"\\system32";
  if (size <= folder.size()) return static_cast<UINT>(folder.size() + 1);
  std::wmemcpy(buffer, folder.c_str(), folder.size() + 1);
  return static_cast<UINT>(folder.size());
}

void CoTaskMemFree(LPVOID memory) { std::free(memory); }
