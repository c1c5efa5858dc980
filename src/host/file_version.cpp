#include "host/file_version.h"

#include <cstddef>
#include <memory>
#include <new>

#include "core/logging.h"
#include "host/unique_resource.h"
#include "host/windows_api.h"

namespace Halvard::Host {
namespace {

using VersionInfo = std::unique_ptr<std::byte[]>;

/// \return Null after a failure, which is logged here.
VersionInfo ReadVersionInfo(const std::wstring& path) {
  LogScope log;
  DWORD handle = 0;
  const DWORD size = GetFileVersionInfoSizeW(path.c_str(), &handle);
  if (size == 0) {
    const DWORD error = GetLastError();
    log.Error(L"GetFileVersion: Failed to get info size of %ws: %d", path.c_str(), error);
    return nullptr;
  }
  VersionInfo info(new (std::nothrow) std::byte[size]);
  if (!info) {
    log.Error(L"GetFileVersion: Failed to alloc memory for info on file %ws", path.c_str());
    return nullptr;
  }
  if (!GetFileVersionInfoW(path.c_str(), 0, size, info.get())) {
    const DWORD error = GetLastError();
    log.Error(L"GetFileVersion: Failed to get info of %ws: %d", path.c_str(), error);
    return nullptr;
  }
  return info;
}

/// \return A place within \p info; null after a failure, which is logged here.
const VS_FIXEDFILEINFO* FindFixedInfo(const VersionInfo& info, const std::wstring& path) {
  LogScope log;
  void* place = nullptr;
  UINT length = 0;
  if (!VerQueryValueW(info.get(), L"\\", &place, &length) || length < sizeof(VS_FIXEDFILEINFO)) {
    const DWORD error = GetLastError();
    log.Error(L"GetFileVersion: Failed to get fixed file info for %ws: %d", path.c_str(), error);
    return nullptr;
  }
  const auto* const fixed = static_cast<const VS_FIXEDFILEINFO*>(place);
  if (fixed->dwSignature != static_cast<DWORD>(VS_FFI_SIGNATURE)) {
    log.Error(L"GetFileVersion: Got bad fixed file info sig from %ws: 0x%08x", path.c_str(),
              fixed->dwSignature);
    return nullptr;
  }
  return fixed;
}

std::uint16_t HighWord(DWORD value) { return static_cast<std::uint16_t>(value >> 16); }
std::uint16_t LowWord(DWORD value) { return static_cast<std::uint16_t>(value & 0xFFFF); }

}  // namespace

bool GetFileVersion(const std::wstring& path, FileVersion& version) {
  LogScope log;
  const VersionInfo info = ReadVersionInfo(path);
  if (!info) return false;
  const VS_FIXEDFILEINFO* const fixed = FindFixedInfo(info, path);
  if (fixed == nullptr) return false;
  version = {HighWord(fixed->dwFileVersionMS), LowWord(fixed->dwFileVersionMS),
             HighWord(fixed->dwFileVersionLS), LowWord(fixed->dwFileVersionLS)};
  log.Info(L"GetFileVersion: File %ws has file ver %hu.%hu.%hu.%hu", path.c_str(), version.major,
           version.minor, version.build, version.revision);
  return true;
}

bool GetSystemFileVersion(const std::wstring& fileName, FileVersion& version) {
  LogScope log;
  PWSTR folder = nullptr;
  const HRESULT result = SHGetKnownFolderPath(FOLDERID_System, 0, nullptr, &folder);
  const DWORD error = GetLastError();
  const UniqueTaskMemory owner(folder);
  if (result != S_OK) {
    log.Error(L"GetSystemFileVersion: Failed to get system path: %d %d", result, error);
    return false;
  }
  if (GetFileVersion(std::wstring(folder) + L"\\" + fileName, version)) return true;
  log.Error(L"GetSystemFileVersion: Failed to get file version of %ws", fileName.c_str());
  return false;
}

}  // namespace Halvard::Host
