#include "discovery/deployment_type.h"

#include "core/logging.h"
#include "core/text.h"
#include "host/files.h"
#include "host/registry.h"
#include "host/windows_api.h"

namespace Halvard::Discovery {
namespace {

constexpr wchar_t kKelvaneServerKey[] = L"SOFTWARE\\Ostrel, Inc.\\Kelvane Server";
constexpr wchar_t kInstallType[] = L"INSTALL_TYPE";

/// The type by the product's configuration; empty when that doesn't tell it.
std::wstring ConfiguredType() {
  std::wstring folder;
  if (!Host::GetPdtConfigDirPath(folder)) return {};
  return Utf8ToWide(Host::GetFileContents(folder + L"\\deployment.node.type"));
}

void RepairRegisteredType(const std::wstring& registered, const std::wstring& configured) {
  LogScope log;
  if (Host::SetRegistryString(HKEY_LOCAL_MACHINE, kKelvaneServerKey, kInstallType, configured)) {
    log.Info(
        L"GetRimsawinDeploymentType: Successfully updated the install type registry key [%s\\%s] from %s to %s",
        kKelvaneServerKey, kInstallType, registered.c_str(), configured.c_str());
  } else {
    log.Warn(
        L"GetRimsawinDeploymentType: Failed to update the install type registry key [%s\\%s] from %s to %s",
        kKelvaneServerKey, kInstallType, registered.c_str(), configured.c_str());
  }
}

}  // namespace

std::wstring GetRimsawinDeploymentType() {
  LogScope log;
  std::wstring type;
  const bool registered =
      Host::ReadRegistryString(HKEY_LOCAL_MACHINE, kKelvaneServerKey, kInstallType, type);
  // A machine without the value is an ordinary one and gets no line; only a reader that hands out
  // part of a value before it fails would bring it.
  if (!registered && !type.empty()) {
    log.Warn(
        L"GetRimsawinDeploymentType: Failed to retrieve the install type value from registry.");
  }
  const std::wstring configured = ConfiguredType();
  if (!configured.empty() && type != configured) {
    RepairRegisteredType(type, configured);
    type = configured;
  }
  return type;
}

}  // namespace Halvard::Discovery
