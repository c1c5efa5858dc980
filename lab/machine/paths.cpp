#include "machine/paths.h"

#include <optional>
#include <vector>

#include "machine/machine.h"
#include "machine/text.h"
#include "winerror.h"

namespace Lab {
namespace {

namespace fs = std::filesystem;

constexpr std::wstring_view kSeparators = L"\\/";

bool IsSeparator(wchar_t c) { return c == L'\\' || c == L'/'; }

bool HasDrive(std::wstring_view path) {
  return path.size() >= 2 && path[1] == L':' &&
         ((path[0] >= L'A' && path[0] <= L'Z') || (path[0] >= L'a' && path[0] <= L'z'));
}

bool IsNetworkPath(std::wstring_view path) {
  return path.size() >= 2 && IsSeparator(path[0]) && IsSeparator(path[1]);
}

/// Appends the names in \p path to \p names and goes back one for each "..".
void AppendNames(std::wstring_view path, std::vector<std::wstring>& names) {
  while (!path.empty()) {
    const std::size_t end = std::min(path.find_first_of(kSeparators), path.size());
    std::wstring name(path.substr(0, end));
    path.remove_prefix(std::min(end + 1, path.size()));
    if (name == L"..") {
      if (!names.empty()) names.pop_back();
      continue;
    }
    name.erase(name.find_last_not_of(L" .") + 1);
    if (!name.empty()) names.push_back(std::move(name));
  }
}

bool IsLegalName(std::wstring_view name) {
  for (const wchar_t c : name) {
    if (c < 32 || std::wstring_view(L"<>:\"|?*").find(c) != std::wstring_view::npos) return false;
  }
  return true;
}

/// \return The entry of \p folder that \p name means; nothing when there is none.
std::optional<fs::path> FindEntry(const fs::path& folder, const std::wstring& name) {
  std::error_code ignored;
  const fs::path exact = folder / ToUtf8(name);
  if (fs::exists(fs::symlink_status(exact, ignored))) return exact;
  for (const fs::directory_entry& entry : fs::directory_iterator(folder, ignored)) {
    if (EqualNoCase(ToWide(entry.path().filename().string()), name)) return entry.path();
  }
  return std::nullopt;
}

/// Walks down from a drive's folder.
FoundPath Walk(fs::path place, const std::vector<std::wstring>& names) {
  std::error_code ignored;
  if (!fs::is_directory(place, ignored)) return {{}, ERROR_PATH_NOT_FOUND};
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (!IsLegalName(names[i])) return {{}, ERROR_INVALID_NAME};
    const bool last = i + 1 == names.size();
    const std::optional<fs::path> entry = FindEntry(place, names[i]);
    if (!entry && last) return {place / ToUtf8(names[i]), ERROR_FILE_NOT_FOUND};
    if (!entry || (!last && !fs::is_directory(*entry, ignored))) return {{}, ERROR_PATH_NOT_FOUND};
    place = *entry;
  }
  return {place, ERROR_SUCCESS};
}

}  // namespace

std::wstring FullPath(std::wstring_view path) {
  if (path.starts_with(L"\\\\?\\")) path.remove_prefix(4);
  if (path.empty() || IsNetworkPath(path)) return std::wstring(path);

  const std::wstring& current = TheMachine().Describe().currentDirectory;
  std::wstring drive = current.substr(0, 2);
  std::wstring_view rest = path;
  if (HasDrive(path)) {
    drive = path.substr(0, 2);
    rest.remove_prefix(2);
  }
  std::vector<std::wstring> names;
  const bool fromRoot = !rest.empty() && IsSeparator(rest[0]);
  // Every drive but the current one has its root as its current folder.
  if (!fromRoot && EqualNoCase(drive, current.substr(0, 2))) {
    AppendNames(std::wstring_view(current).substr(2), names);
  }
  AppendNames(rest, names);

  std::wstring full = FoldCase(drive);
  for (const std::wstring& name : names) full += L'\\' + name;
  if (names.empty() || IsSeparator(path.back())) full += L'\\';
  return full;
}

FoundPath FindPath(std::wstring_view windowsPath) {
  if (windowsPath.empty()) return {{}, ERROR_PATH_NOT_FOUND};
  const std::wstring full = FullPath(windowsPath);
  if (IsNetworkPath(full)) return {{}, ERROR_BAD_NETPATH};
  if (!HasDrive(full) || full.size() >= MAX_PATH) return {{}, ERROR_PATH_NOT_FOUND};

  std::vector<std::wstring> names;
  AppendNames(std::wstring_view(full).substr(2), names);
  const char drive = static_cast<char>(full[0] - L'A' + 'a');
  FoundPath found = Walk(TheMachine().Folder() / (std::string("drive_") + drive), names);

  std::error_code ignored;
  const bool namesFolder = !names.empty() && full.back() == L'\\';
  if (found.error == ERROR_SUCCESS && namesFolder && !fs::is_directory(found.host, ignored)) {
    return {{}, ERROR_INVALID_NAME};
  }
  return found;
}

fs::path HostPath(std::wstring_view windowsPath) {
  FoundPath found = FindPath(windowsPath);
  if (found.error != ERROR_SUCCESS && found.error != ERROR_FILE_NOT_FOUND) {
    throw fs::filesystem_error("lab: no such place, code " + std::to_string(found.error),
                               ToUtf8(windowsPath),
                               std::make_error_code(std::errc::no_such_file_or_directory));
  }
  return std::move(found.host);
}

std::wstring WindowsPath(const fs::path& hostPath) {
  const fs::path inside = hostPath.lexically_normal().lexically_relative(TheMachine().Folder());
  auto part = inside.begin();
  if (part == inside.end()) return {};
  const std::string drive = part->string();
  if (drive.size() != 7 || !drive.starts_with("drive_")) return {};
  std::wstring path = FoldCase(ToWide(drive.substr(6))) + L":";
  bool below = false;
  for (++part; part != inside.end(); ++part) {
    if (part->empty()) continue;
    path += L'\\' + ToWide(part->string());
    below = true;
  }
  return below ? path : path + L'\\';
}

}  // namespace Lab
