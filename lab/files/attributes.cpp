#include "files/attributes.h"

#include "winnt.h"

namespace Lab {
namespace {

constexpr mode_t kWriteBits = S_IWUSR | S_IWGRP | S_IWOTH;

/// A link that leads nowhere is one to a folder: others aren't made here.
bool LeadsToFile(const std::filesystem::path& link) {
  struct stat target = {};
  return stat(link.c_str(), &target) == 0 && !S_ISDIR(target.st_mode);
}

}  // namespace

bool IsReadOnly(const struct stat& status) {
  return !S_ISLNK(status.st_mode) && (status.st_mode & kWriteBits) == 0;
}

mode_t HostMode(DWORD attributes) {
  const mode_t readable = S_IRUSR | S_IRGRP | S_IROTH;
  return (attributes & FILE_ATTRIBUTE_READONLY) != 0 ? readable : readable | S_IWUSR;
}

DWORD AttributesOf(const std::filesystem::path& place, const struct stat& status) {
  if (S_ISLNK(status.st_mode)) {
    return FILE_ATTRIBUTE_REPARSE_POINT |
           (LeadsToFile(place) ? FILE_ATTRIBUTE_ARCHIVE : FILE_ATTRIBUTE_DIRECTORY);
  }
  const DWORD kind = S_ISDIR(status.st_mode) ? FILE_ATTRIBUTE_DIRECTORY : FILE_ATTRIBUTE_ARCHIVE;
  return kind | (IsReadOnly(status) ? FILE_ATTRIBUTE_READONLY : 0);
}

}  // namespace Lab
