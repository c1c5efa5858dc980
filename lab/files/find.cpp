#include "files/find.h"

#include <sys/stat.h>

#include <algorithm>
#include <utility>

#include "files/attributes.h"
#include "machine/clock.h"
#include "machine/text.h"
#include "winnt.h"

namespace Lab {
namespace {

namespace fs = std::filesystem;

FILETIME FileTime(const timespec& time) {
  const std::uint64_t steps = kUnixEpoch + static_cast<std::uint64_t>(time.tv_sec) * 10'000'000 +
                              static_cast<std::uint64_t>(time.tv_nsec) / 100;
  return {static_cast<DWORD>(steps), static_cast<DWORD>(steps >> 32)};
}

void Fill(const std::wstring& name, const fs::path& place, const struct stat& status,
          WIN32_FIND_DATAW& entry) {
  entry = {};
  entry.dwFileAttributes = AttributesOf(place, status);
  // The host keeps no time of creation that programs could set: the last change serves.
  entry.ftCreationTime = FileTime(status.st_mtim);
  entry.ftLastAccessTime = FileTime(status.st_atim);
  entry.ftLastWriteTime = FileTime(status.st_mtim);
  if (S_ISREG(status.st_mode)) {
    const auto size = static_cast<std::uint64_t>(status.st_size);
    entry.nFileSizeHigh = static_cast<DWORD>(size >> 32);
    entry.nFileSizeLow = static_cast<DWORD>(size);
  }
  if (S_ISLNK(status.st_mode)) entry.dwReserved0 = IO_REPARSE_TAG_SYMLINK;
  name.copy(entry.cFileName, MAX_PATH - 1);
}

bool Matches(std::wstring_view name, std::wstring_view pattern) {
  if (pattern.empty()) return name.empty();
  if (pattern[0] == L'*') {
    return Matches(name, pattern.substr(1)) || (!name.empty() && Matches(name.substr(1), pattern));
  }
  if (name.empty()) return pattern[0] == L'?' && Matches(name, pattern.substr(1));
  return (pattern[0] == L'?' || pattern[0] == name[0]) &&
         Matches(name.substr(1), pattern.substr(1));
}

}  // namespace

bool MatchesPattern(std::wstring_view name, std::wstring_view pattern) {
  if (pattern == L"*.*") return true;
  return Matches(FoldCase(name), FoldCase(pattern));
}

bool HasWildcards(std::wstring_view path) {
  return path.find_first_of(L"*?") != std::wstring_view::npos;
}

SplitPath SplitAtLastSeparator(std::wstring_view path) {
  const std::size_t cut = path.find_last_of(L"\\/");
  if (cut == std::wstring_view::npos) return {{}, std::wstring(path)};
  return {std::wstring(path.substr(0, cut + 1)), std::wstring(path.substr(cut + 1))};
}

std::vector<std::wstring> NamesIn(const fs::path& folder, std::wstring_view pattern) {
  std::vector<std::wstring> names;
  std::error_code ignored;
  for (const fs::directory_entry& entry : fs::directory_iterator(folder, ignored)) {
    std::wstring name = ToWide(entry.path().filename().string());
    if (MatchesPattern(name, pattern)) names.push_back(std::move(name));
  }
  std::sort(names.begin(), names.end(), LessNoCase());
  return names;
}

Find::Find(fs::path folder, std::vector<std::wstring> names)
    : folder_(std::move(folder)), names_(std::move(names)) {}

bool Find::Next(WIN32_FIND_DATAW& entry) {
  while (next_ < names_.size()) {
    const std::wstring& name = names_[next_++];
    const fs::path place = folder_ / ToUtf8(name);
    struct stat status = {};
    if (lstat(place.c_str(), &status) != 0) continue;
    Fill(name, place, status, entry);
    return true;
  }
  return false;
}

}  // namespace Lab
