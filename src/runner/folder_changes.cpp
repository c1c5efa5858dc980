#include "runner/folder_changes.h"

#include <cstring>
#include <string>

#include "host/windows_api.h"

namespace Halvard::Runner {
namespace {

constexpr std::size_t kHeaderSize = offsetof(FILE_NOTIFY_INFORMATION, FileName);

struct Header {
  DWORD nextEntryOffset;
  DWORD action;
  DWORD nameBytes;
};
static_assert(sizeof(Header) == kHeaderSize);

bool LeavesAFile(DWORD action) {
  return action == FILE_ACTION_ADDED || action == FILE_ACTION_MODIFIED ||
         action == FILE_ACTION_RENAMED_NEW_NAME;
}

bool IsName(const char* name, std::size_t nameBytes, std::wstring_view fileName) {
  if (nameBytes != fileName.size() * sizeof(wchar_t)) return false;
  std::wstring text(fileName.size(), L'\0');
  std::memcpy(text.data(), name, nameBytes);
  return _wcsnicmp(text.c_str(), fileName.data(), fileName.size()) == 0;
}

}  // namespace

bool TellsOfFile(const void* records, std::size_t size, std::wstring_view fileName) {
  const auto* const bytes = static_cast<const char*>(records);
  std::size_t offset = 0;
  while (offset + kHeaderSize <= size) {
    // Not every system aligns its records, so they are read by copying.
    Header header = {};
    std::memcpy(&header, bytes + offset, sizeof header);
    const std::size_t name = offset + kHeaderSize;
    if (header.nameBytes <= size - name && LeavesAFile(header.action) &&
        IsName(bytes + name, header.nameBytes, fileName)) {
      return true;
    }
    if (header.nextEntryOffset == 0) return false;
    offset += header.nextEntryOffset;
  }
  return false;
}

}  // namespace Halvard::Runner
