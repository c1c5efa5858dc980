// The folder for temporary files, and names in it.
#include <algorithm>
#include <cstdint>
#include <string>

#include "api/failure.h"
#include "files/find.h"
#include "files/open_file.h"
#include "machine/call.h"
#include "machine/machine.h"
#include "machine/paths.h"
#include "windows.h"

namespace {

using Lab::Fail;

// Longer folders leave no room for a name in MAX_PATH characters.
constexpr std::size_t kLongestFolder = 246;

/// The first of the variables that holds a text, else the Windows folder.
std::wstring TempFolder() {
  const Lab::Description& description = Lab::TheMachine().Describe();
  for (const wchar_t* name : {L"TMP", L"TEMP", L"USERPROFILE"}) {
    const auto variable = description.processVariables.find(name);
    if (variable != description.processVariables.end() && !variable->second.empty()) {
      return variable->second;
    }
  }
  const auto system = description.systemVariables.find(L"SystemRoot");
  return system != description.systemVariables.end() ? system->second : L"C:\\Windows";
}

/// Up to three characters of the prefix, then the number as Windows writes it.
std::wstring TempName(std::wstring_view prefix, std::uint16_t number) {
  wchar_t digits[8] = {};
  std::swprintf(digits, std::size(digits), L"%X", unsigned{number});
  return std::wstring(prefix.substr(0, 3)) + digits + L".tmp";
}

/// Makes an empty file with the first free name from \p number on.
/// \return The number in the name; 0 after a failure, which is in the last error.
UINT MakeFile(const std::wstring& folder, std::wstring_view prefix, std::uint16_t number,
              std::wstring& path) {
  if (folder.size() == 3 && !Lab::TheMachine().Describe().UserIsAdministrator())
    return Fail(ERROR_ACCESS_DENIED);
  Lab::OpenFile::Request request;
  request.access = FILE_SHARE_WRITE;
  request.mayCreate = true;
  request.mayExist = false;
  for (const std::uint16_t first = number;;) {
    path = folder + TempName(prefix, number);
    const Lab::FoundPath found = Lab::FindPath(path);
    if (found.error == ERROR_FILE_NOT_FOUND) {
      const DWORD error = Lab::OpenFile::Open(found.host, request).error;
      if (error == ERROR_SUCCESS) return number;
      if (error != ERROR_FILE_EXISTS) return Fail(error);
    }
    // 0 would read as a failure.
    number = number == UINT16_MAX ? std::uint16_t{1} : static_cast<std::uint16_t>(number + 1);
    if (number == first) return Fail(ERROR_FILE_EXISTS);
  }
}

}  // namespace

DWORD GetTempPathW(DWORD size, LPWSTR buffer) {
  const Lab::Call call("GetTempPathW");
  if (call.FailsByPlan()) return 0;
  LAB_SUPPORTS(buffer != nullptr);
  std::wstring path = Lab::FullPath(TempFolder());
  if (!path.ends_with(L'\\')) path += L'\\';
  if (path.size() > MAX_PATH) return Fail(ERROR_FILENAME_EXCED_RANGE);
  if (path.size() >= size) {
    if (size > 0) buffer[0] = 0;
    return static_cast<DWORD>(path.size() + 1);
  }
  path.copy(buffer, path.size());
  buffer[path.size()] = 0;
  return static_cast<DWORD>(path.size());
}

UINT GetTempFileNameW(LPCWSTR folder, LPCWSTR prefix, UINT number, LPWSTR buffer) {
  LAB_SUPPORTS(folder != nullptr && prefix != nullptr && buffer != nullptr);
  const Lab::Call call("GetTempFileNameW", folder);
  if (call.FailsByPlan()) return 0;
  std::wstring path(folder);
  if (path.size() > kLongestFolder) return Fail(ERROR_BUFFER_OVERFLOW);
  // No name is no folder, rather than the root of the drive.
  if (path.empty()) return Fail(ERROR_DIRECTORY);
  if (!path.ends_with(L'\\')) path += L'\\';
  const Lab::FoundPath found = Lab::FindPath(path);
  if (found.error != ERROR_SUCCESS) return Fail(ERROR_DIRECTORY);

  const auto low = static_cast<std::uint16_t>(number);
  UINT used = number;
  std::wstring name = path + TempName(prefix, low);
  if (number == 0) {
    const auto start = static_cast<std::uint16_t>(Lab::TheMachine().Clock().TimeOfDay() / 10'000);
    used = MakeFile(path, prefix, std::max(start, std::uint16_t{1}), name);
    if (used == 0) return 0;
  }
  name.copy(buffer, name.size());
  buffer[name.size()] = 0;
  return used;
}
