#include "host_paths.h"

#include <windows.h>

#include <cstddef>
#include <string_view>
#include <vector>

namespace Lab::Wine {
namespace {

/// Wine's own: the host's path, which the caller frees, or null where a folder of it is missing.
using GetUnixFileName = char*(CDECL*)(LPCWSTR path);

GetUnixFileName FindTranslation() {
  const FARPROC found =
      GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "wine_get_unix_file_name");
  return reinterpret_cast<GetUnixFileName>(reinterpret_cast<void*>(found));
}

/// \return Empty where a folder on the way is missing.
std::string Translate(const std::wstring& path) {
  static const GetUnixFileName translate = FindTranslation();
  char* const translated = translate == nullptr ? nullptr : translate(path.c_str());
  if (translated == nullptr) return {};
  std::string host = translated;
  HeapFree(GetProcessHeap(), 0, translated);
  // The drive by the name of its folder, as whoever comes from the host finds it.
  constexpr std::string_view kDrive = "/dosdevices/c:";
  const std::size_t drive = host.find(kDrive);
  if (drive != std::string::npos) host.replace(drive, kDrive.size(), "/drive_c");
  return host;
}

std::wstring FullPath(const std::wstring& path) {
  std::vector<wchar_t> buffer(GetFullPathNameW(path.c_str(), 0, nullptr, nullptr));
  if (buffer.empty()) return {};
  const DWORD length =
      GetFullPathNameW(path.c_str(), static_cast<DWORD>(buffer.size()), buffer.data(), nullptr);
  return std::wstring(buffer.data(), length);
}

/// \param path  From a drive on.
std::string PlaceOf(const std::wstring& path) {
  std::string place = Translate(path);
  if (!place.empty()) return place;
  constexpr std::size_t kBehindTheDrive = 2;
  const std::size_t last = path.rfind(L'\\');
  if (last == std::wstring::npos || last <= kBehindTheDrive) return {};
  const std::string folder = PlaceOf(path.substr(0, last));
  return folder.empty() ? folder : folder + "/" + ToUtf8(path.substr(last + 1));
}

bool IsAbsolute(const std::wstring& path) {
  const auto isLetter = [](wchar_t c) {
    return (c >= L'a' && c <= L'z') || (c >= L'A' && c <= L'Z');
  };
  return path.size() >= 3 && isLetter(path[0]) && path[1] == L':' &&
         (path[2] == L'\\' || path[2] == L'/');
}

}  // namespace

std::string HostPath(const std::wstring& path) {
  const std::wstring full = FullPath(path);
  // Wine has a name for each drive that could be there.
  if (GetDriveTypeW(full.substr(0, full.find(L'\\') + 1).c_str()) == DRIVE_NO_ROOT_DIR) return {};
  return PlaceOf(full);
}

std::string HostArgument(const std::wstring& argument) {
  const std::size_t equals = argument.find(L'=');
  for (const std::size_t start : {std::size_t{0}, equals + 1}) {
    const std::wstring path = argument.substr(start);
    if (!IsAbsolute(path)) continue;
    const std::string place = HostPath(path);
    if (place.empty()) break;
    return ToUtf8(argument.substr(0, start)) + place;
  }
  return ToUtf8(argument);
}

std::string ToUtf8(const std::wstring& text) {
  const auto length = static_cast<int>(text.size());
  std::string utf8(static_cast<std::size_t>(WideCharToMultiByte(CP_UTF8, 0, text.data(), length,
                                                                nullptr, 0, nullptr, nullptr)),
                   '\0');
  (void)WideCharToMultiByte(CP_UTF8, 0, text.data(), length, utf8.data(),
                            static_cast<int>(utf8.size()), nullptr, nullptr);
  return utf8;
}

std::wstring ToWide(const std::string& utf8) {
  const auto length = static_cast<int>(utf8.size());
  std::wstring text(
      static_cast<std::size_t>(MultiByteToWideChar(CP_UTF8, 0, utf8.data(), length, nullptr, 0)),
      L'\0');
  (void)MultiByteToWideChar(CP_UTF8, 0, utf8.data(), length, text.data(),
                            static_cast<int>(text.size()));
  return text;
}

}  // namespace Lab::Wine
