#include "core/json_files.h"

#include <cstddef>
#include <string_view>

#include "core/json_documents.h"
#include "host/unique_resource.h"

namespace Halvard {
namespace {

DWORD WriteWhole(HANDLE file, const std::string& text) {
  DWORD written = 0;
  if (!WriteFile(file, text.data(), static_cast<DWORD>(text.size()), &written, nullptr)) {
    return GetLastError();
  }
  return written == text.size() ? DWORD{ERROR_SUCCESS} : DWORD{ERROR_DISK_FULL};
}

DWORD SaveText(const std::wstring& path, const std::string& text,
               LPSECURITY_ATTRIBUTES securityAttributes) {
  const Host::UniqueFile file(CreateFileW(path.c_str(), GENERIC_WRITE, 0, securityAttributes,
                                          CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!file) return GetLastError();
  return WriteWhole(file.Get(), text);
}

DWORD ParseMappedFile(HANDLE file, std::size_t size, Json::Value& out) {
  const Host::UniqueHandle mapping(CreateFileMappingW(file, nullptr, PAGE_READONLY, 0, 0, nullptr));
  if (!mapping) return GetLastError();
  const Host::UniqueView view(MapViewOfFile(mapping.Get(), FILE_MAP_READ, 0, 0, 0));
  if (!view) return GetLastError();
  const std::string_view text(static_cast<const char*>(view.Get()), size);
  return ParseJson(text, out) ? DWORD{ERROR_SUCCESS} : DWORD{ERROR_INVALID_DATA};
}

DWORD LoadDocument(const std::wstring& path, Json::Value& out, DWORD openFlags) {
  const Host::UniqueFile file(
      CreateFileW(path.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, openFlags, nullptr));
  if (!file) return GetLastError();
  // The size that means failure is a possible size as well; the code tells them apart.
  SetLastError(ERROR_SUCCESS);
  const DWORD size = GetFileSize(file.Get(), nullptr);
  if (size == INVALID_FILE_SIZE && GetLastError() != ERROR_SUCCESS) return GetLastError();
  return ParseMappedFile(file.Get(), size, out);
}

}  // namespace

bool SaveJsonToFile(const std::wstring& path, const Json::Value& value,
                    LPSECURITY_ATTRIBUTES securityAttributes) {
  const DWORD error = SaveText(path, Json::StyledWriter().write(value), securityAttributes);
  // Last of all: opening over an old file leaves a code of its own, and so may the closing.
  SetLastError(error);
  return error == ERROR_SUCCESS;
}

bool LoadJsonFromFile(const std::wstring& path, Json::Value& out, DWORD openFlags) {
  const DWORD error = LoadDocument(path, out, openFlags);
  SetLastError(error);
  return error == ERROR_SUCCESS;
}

}  // namespace Halvard
