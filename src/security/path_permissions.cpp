#include "security/path_permissions.h"

#include <array>
#include <cstddef>
#include <memory>
#include <new>

#include "core/logging.h"
#include "host/authorization_api.h"
#include "security/existing_path.h"

namespace Halvard::Security {
namespace {

using OwnedBytes = std::unique_ptr<std::byte[]>;

/// Some kinds of folders are worth a warning; only what is no folder is refused.
bool IsUsableFolder(const std::wstring& folder) {
  LogScope log;
  const DWORD attributes = GetFileAttributesW(NameOfFolder(folder).c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES) {
    const DWORD error = GetLastError();
    log.Error(L"GetPathPermissions: Failed to query attrs of \"%ws\": %d", folder.c_str(), error);
    return false;
  }
  if ((attributes & FILE_ATTRIBUTE_DIRECTORY) == 0) {
    log.Error(L"GetPathPermissions: \"%ws\" is not a directory: 0x%08x", folder.c_str(),
              attributes);
    return false;
  }
  if ((attributes & FILE_ATTRIBUTE_COMPRESSED) != 0) {
    log.Warn(L"GetPathPermissions: \"%ws\" is compressed: 0x%08x", folder.c_str(), attributes);
  }
  if ((attributes & FILE_ATTRIBUTE_SYSTEM) != 0) {
    log.Warn(L"GetPathPermissions: \"%ws\" is system: 0x%08x", folder.c_str(), attributes);
  }
  if ((attributes & FILE_ATTRIBUTE_ENCRYPTED) != 0) {
    log.Warn(L"GetPathPermissions: \"%ws\" is encrypted: 0x%08x", folder.c_str(), attributes);
  }
  return true;
}

/// \return 0, or the error code.
DWORD OpenOwnToken(Host::UniqueHandle& token) {
  HANDLE opened = nullptr;
  if (!OpenThreadToken(GetCurrentThread(), TOKEN_QUERY, TRUE, &opened)) return GetLastError();
  token.Reset(opened);
  return ERROR_SUCCESS;
}

/// The token of the calling thread. One that acts for nobody in particular gets one for the moment
/// in which it is taken.
/// \return Null after a failure, which is logged as information: the error is whoever's that asked
///         for the rights.
Host::UniqueHandle TakeThreadToken() {
  LogScope log;
  Host::UniqueHandle token;
  DWORD error = OpenOwnToken(token);
  if (error == ERROR_NO_TOKEN) {
    if (!ImpersonateSelf(SecurityImpersonation)) {
      const DWORD selfError = GetLastError();
      log.Info(L"GetPathPermissions: Failed to impersonate self: %d", selfError);
      return Host::UniqueHandle();
    }
    error = OpenOwnToken(token);
    if (!RevertToSelf()) {
      const DWORD revertError = GetLastError();
      log.Info(L"GetPathPermissions: Failed to revert: %d", revertError);
      return Host::UniqueHandle();
    }
  }
  if (error != ERROR_SUCCESS) {
    log.Info(L"GetPathPermissions: Failed to open thread token: %d", error);
  }
  return token;
}

/// Reads who owns a folder and who may do what in it.
/// \return Null after a failure, which is logged.
OwnedBytes ReadDescriptor(const std::wstring& folder) {
  constexpr SECURITY_INFORMATION kWanted =
      OWNER_SECURITY_INFORMATION | GROUP_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION;
  LogScope log;
  const std::wstring name = NameOfFolder(folder);
  DWORD size = 0;
  if (GetFileSecurityW(name.c_str(), kWanted, nullptr, 0, &size) ||
      GetLastError() != ERROR_INSUFFICIENT_BUFFER) {
    const DWORD error = GetLastError();
    log.Error(L"GetPathPermissions: Failed to get sd size of \"%ws\": %d", folder.c_str(), error);
    return nullptr;
  }
  OwnedBytes descriptor(new (std::nothrow) std::byte[size]);
  if (descriptor == nullptr) {
    log.Error(L"GetPathPermissions: Failed to allocate memory for the SD");
    return nullptr;
  }
  if (!GetFileSecurityW(name.c_str(), kWanted, descriptor.get(), size, &size)) {
    const DWORD error = GetLastError();
    log.Error(L"GetPathPermissions: Failed to get sd of \"%ws\": %d", folder.c_str(), error);
    return nullptr;
  }
  return descriptor;
}

/// Computes what a new object in a folder would get.
/// \return Null after a failure, which is logged.
Host::UniqueObjectSecurity InheritFrom(PSECURITY_DESCRIPTOR folder, bool isContainer,
                                       HANDLE token) {
  GENERIC_MAPPING mapping = {FILE_GENERIC_READ, FILE_GENERIC_WRITE, FILE_GENERIC_EXECUTE,
                             FILE_ALL_ACCESS};
  PSECURITY_DESCRIPTOR made = nullptr;
  if (CreatePrivateObjectSecurity(folder, nullptr, &made, isContainer ? TRUE : FALSE, token,
                                  &mapping)) {
    return Host::UniqueObjectSecurity(made);
  }
  const DWORD error = GetLastError();
  LogScope log;
  log.Error(L"GetPathPermissions: Failed to create private container object security: %d", error);
  return Host::UniqueObjectSecurity();
}

/// Asks what a descriptor grants to administrators.
/// \param failure  Log line for a failure. Information, beside the error of what failed.
bool CheckAdministrators(PSECURITY_DESCRIPTOR descriptor, const WideFormat<>& failure,
                         PathPermissions& permissions) {
  std::array<std::byte, 2048> sid = {};
  auto size = static_cast<DWORD>(sid.size());
  if (CreateWellKnownSid(WinBuiltinAdministratorsSid, nullptr, sid.data(), &size) &&
      CheckSidAccess(descriptor, sid.data(), permissions)) {
    return true;
  }
  LogScope log;
  log.Info(failure);
  return false;
}

void LogPermissions(const std::wstring& path, const PathPermissions& permissions,
                    bool isContainer) {
  LogScope log;
  log.Info(L"GetPathPermissions: %ws \"%ws\": R: %d W: %d E: %d D: %d Dc: %d ACL: %d",
           isContainer ? L"Dir " : L"File", path.c_str(), permissions.read, permissions.write,
           permissions.execute, permissions.deleteSelf, permissions.deleteChild, permissions.acl);
}

}  // namespace

PathPermissions Common(const PathPermissions& a, const PathPermissions& b) {
  return {a.read && b.read,
          a.write && b.write,
          a.execute && b.execute,
          a.deleteSelf && b.deleteSelf,
          a.deleteChild && b.deleteChild,
          a.acl && b.acl};
}

bool GetPathPermissions(const std::wstring& path, PathPermissions& permissions, bool isContainer) {
  LogScope log;
  permissions = {};
  std::wstring longest;
  bool wholeExists = false;
  if (!LongestPathThatExists(path, longest, wholeExists)) {
    log.Error(L"GetPathPermissions: Failed to get existing path for \"%ws\"", path.c_str());
    return false;
  }
  log.Info(L"GetPathPermissions: Longest existing path for \"%ws\" is \"%ws\"", path.c_str(),
           longest.c_str());
  if (!IsUsableFolder(longest)) return false;
  const Host::UniqueHandle token = TakeThreadToken();
  if (!token) return false;
  const OwnedBytes own = ReadDescriptor(longest);
  if (own == nullptr) return false;
  const Host::UniqueObjectSecurity computed = InheritFrom(own.get(), isContainer, token.Get());
  if (!computed) return false;
  PathPermissions inherited;
  if (!CheckAdministrators(computed.Get(),
                           L"GetPathPermissions: Failed to check inherited Halvard permissions",
                           inherited)) {
    return false;
  }
  PathPermissions present = wholeExists ? PathPermissions() : inherited;
  if (wholeExists &&
      !CheckAdministrators(own.get(), L"GetPathPermissions: Failed to check Halvard permissions",
                           present)) {
    return false;
  }
  permissions = Common(inherited, present);
  LogPermissions(path, permissions, isContainer);
  return true;
}

bool GetDirectoryAccess(const std::wstring& path, PathPermissions& permissions) {
  PathPermissions folder;
  PathPermissions file;
  if (!GetPathPermissions(path, folder, true)) return false;
  if (!GetPathPermissions(path, file, false)) return false;
  permissions = Common(folder, file);
  permissions.deleteChild = folder.deleteChild;
  return true;
}

}  // namespace Halvard::Security
