// Version resources: the fixed block and nothing else.
#include <cstring>
#include <filesystem>
#include <string>

#include "api/failure.h"
#include "machine/call.h"
#include "machine/file_versions.h"
#include "machine/machine.h"
#include "machine/paths.h"
#include "windows.h"
#include "winver.h"

namespace {

/// The resource as it lies in a file: a header, its name and the fixed block.
struct VersionResource {
  std::uint16_t length = sizeof(VersionResource);
  std::uint16_t valueLength = sizeof(VS_FIXEDFILEINFO);
  std::uint16_t type = 0;
  char16_t name[16] = u"VS_VERSION_INFO";
  std::uint16_t padding = 0;
  VS_FIXEDFILEINFO fixed{};
};

DWORD Pair(std::uint16_t high, std::uint16_t low) { return DWORD{high} << 16 | low; }

VersionResource ResourceOf(const Lab::FileVersion& version) {
  constexpr DWORD kNotTheSignature = 0xDEADBEEF;
  VersionResource resource;
  resource.fixed.dwSignature = version ? VS_FFI_SIGNATURE : kNotTheSignature;
  if (version) {
    resource.fixed.dwFileVersionMS = Pair((*version)[0], (*version)[1]);
    resource.fixed.dwFileVersionLS = Pair((*version)[2], (*version)[3]);
  }
  return resource;
}

/// Why a file that isn't described has no version.
DWORD ProblemWith(LPCWSTR path) {
  if (*path == L'\0') return ERROR_BAD_PATHNAME;
  const Lab::FoundPath found = Lab::FindPath(path);
  if (found.error != ERROR_SUCCESS) return found.error;
  if (std::filesystem::is_directory(found.host)) return ERROR_ACCESS_DENIED;
  return std::filesystem::exists(found.host) ? ERROR_RESOURCE_DATA_NOT_FOUND : ERROR_FILE_NOT_FOUND;
}

/// \return Null with the last error set when there is no version.
const Lab::FileVersion* Find(LPCWSTR path) {
  const Lab::FileVersions& versions = Lab::TheMachine().Describe().fileVersions;
  const auto found = versions.find(path);
  if (found != versions.end()) return &found->second;
  return Lab::FailWithNull(ProblemWith(path));
}

}  // namespace

DWORD WINAPI GetFileVersionInfoSizeW(LPCWSTR path, LPDWORD handle) {
  LAB_SUPPORTS(path != nullptr && handle != nullptr);
  const Lab::Call call("GetFileVersionInfoSizeW", path);
  *handle = 0;
  if (call.FailsByPlan()) return 0;
  return Find(path) != nullptr ? static_cast<DWORD>(sizeof(VersionResource)) : 0;
}

BOOL WINAPI GetFileVersionInfoW(LPCWSTR path, DWORD handle, DWORD size, LPVOID data) {
  LAB_SUPPORTS(path != nullptr && handle == 0 && data != nullptr);
  const Lab::Call call("GetFileVersionInfoW", path);
  if (call.FailsByPlan()) return FALSE;
  // A part of the block would be given out as a whole one.
  LAB_SUPPORTS(size >= sizeof(VersionResource));
  const Lab::FileVersion* const version = Find(path);
  if (version == nullptr) return FALSE;
  const VersionResource resource = ResourceOf(*version);
  std::memcpy(data, &resource, sizeof(resource));
  return TRUE;
}

BOOL WINAPI VerQueryValueW(LPCVOID block, LPCWSTR name, LPVOID* value, UINT* length) {
  const Lab::Call call("VerQueryValueW");
  LAB_SUPPORTS(block != nullptr && name != nullptr && value != nullptr && length != nullptr);
  LAB_SUPPORTS(std::wstring(name) == L"\\");
  if (call.FailsByPlan()) return FALSE;
  const auto* const resource = static_cast<const VersionResource*>(block);
  *value = const_cast<VS_FIXEDFILEINFO*>(&resource->fixed);
  *length = resource->valueLength;
  return TRUE;
}
