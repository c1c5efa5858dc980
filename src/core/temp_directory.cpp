#include "core/temp_directory.h"

#include "host/windows_api.h"

namespace Halvard {
namespace {

std::wstring WithoutSessionFolder(std::wstring path, DWORD session) {
  if (path.ends_with(L'\\')) path.pop_back();
  if (!path.ends_with(std::to_wstring(session))) return path;
  path.push_back(L'\0');
  (void)PathRemoveFileSpecW(path.data());
  path.resize(std::char_traits<wchar_t>::length(path.c_str()));
  return path;
}

}  // namespace

std::wstring GetTempDirectory() {
  wchar_t buffer[MAX_PATH + 1] = {};
  const DWORD length = GetTempPathW(MAX_PATH + 1, buffer);
  // Too small a buffer answers the size that would do, not zero.
  if (length == 0 || length > MAX_PATH) return {};
  std::wstring path(buffer, length);
  DWORD session = 0;
  if (ProcessIdToSessionId(GetCurrentProcessId(), &session)) {
    path = WithoutSessionFolder(std::move(path), session);
  }
  if (!path.ends_with(L'\\')) path.push_back(L'\\');
  return path;
}

}  // namespace Halvard
