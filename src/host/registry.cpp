#include "host/registry.h"

#include <cstddef>
#include <memory>
#include <new>

#include "core/logging.h"
#include "core/text.h"
#include "host/files.h"
#include "host/unique_resource.h"

namespace Halvard::Host {
namespace {

/// 4,096 bytes on Windows.
constexpr std::size_t kRegistryTextSize = 2048;

/// A product code in braces, and its end.
constexpr std::size_t kProductCodeSize = 39;

constexpr wchar_t kConfigurationVariable[] = L"%OSTREL_CFG_DIR%";

/// What is logged when that variable can't be expanded. Only the first of its conversions ever
/// gets a value.
constexpr wchar_t kExpansionFailed[] =
    L"GetPdtConfigDirPath: Failed to expand environment variable %s, Error:[%d]%OSTREL_CFG_DIR%";

/// The line for a failed expansion. Filled by hand: the log's formatter would look for a second
/// value, and stumble over the variable's name.
std::wstring ExpansionFailureLine(DWORD error) {
  std::wstring line = kExpansionFailed;
  return line.replace(line.find(L"%s"), 2, std::to_wstring(error));
}

/// The configuration folder by the system's environment; empty when that doesn't tell it.
std::wstring ConfigDirPathFromEnvironment() {
  LogScope log;
  wchar_t path[MAX_PATH] = {};
  // Without a token it's the system's variables that count, not those of this process.
  if (!ExpandEnvironmentStringsForUserW(nullptr, kConfigurationVariable, path, MAX_PATH)) {
    const DWORD error = GetLastError();
    log.Warn(L"%s", ExpansionFailureLine(error).c_str());
    return {};
  }
  // An unknown variable is no failure: its reference stays as it is.
  if (path[0] == L'\0' || std::wstring(path) == kConfigurationVariable) {
    log.Warn(L"GetPdtConfigDirPath: %s environment variable expanded to [%s]",
             kConfigurationVariable, path);
    return {};
  }
  return path;
}

}  // namespace

bool ReadRegistryString(HKEY hive, const std::wstring& keyPath, const std::wstring& valueName,
                        std::wstring& text) {
  LogScope log;
  wchar_t buffer[kRegistryTextSize] = {};
  DWORD bytes = sizeof(buffer);
  const LSTATUS error = RegGetValueW(hive, keyPath.c_str(), valueName.c_str(),
                                     RRF_RT_REG_SZ | RRF_NOEXPAND, nullptr, buffer, &bytes);
  if (error == ERROR_SUCCESS) {
    text = buffer;
    return true;
  }
  if (error == ERROR_FILE_NOT_FOUND) {
    log.Info(L"ReadRegistryString: Registry value %s\\%s was not found", keyPath.c_str(),
             valueName.c_str());
  } else {
    log.Warn(L"ReadRegistryString: Failed to read registry value %s\\%s. Error code: %u",
             keyPath.c_str(), valueName.c_str(), error);
  }
  return false;
}

bool SetRegistryString(HKEY hive, const std::wstring& keyPath, const std::wstring& valueName,
                       const std::wstring& text) {
  LogScope log;
  HKEY opened = nullptr;
  LSTATUS error = RegOpenKeyExW(hive, keyPath.c_str(), 0, KEY_SET_VALUE, &opened);
  if (error != ERROR_SUCCESS) {
    log.Error(L"SetRegistryString: Failed to open the registry subkey, %s. Error code: %i",
              keyPath.c_str(), error);
    return false;
  }
  UniqueRegistryKey key(opened);
  const DWORD bytes = static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t));
  error = RegSetKeyValueW(key.Get(), nullptr, valueName.c_str(), REG_SZ, text.c_str(), bytes);
  key.Reset();
  if (error != ERROR_SUCCESS) {
    log.Error(
        L"SetRegistryString: Failed to set the registry value of key %s under subkey %s. Error code: %i",
        valueName.c_str(), keyPath.c_str(), error);
    return false;
  }
  return true;
}

bool GetPdtConfigDirPath(std::wstring& path) {
  LogScope log;
  const std::wstring named = ConfigDirPathFromEnvironment();
  if (!named.empty()) {
    path = named;
    log.Info(L"GetPdtConfigDirPath: ENV_OSTREL_CFG_DIR directory path is %s", path.c_str());
    return true;
  }
  std::wstring applicationData;
  if (!ReadRegistryString(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Ostrel, Inc.\\Kelvane Server",
                          L"OSTREL_COMMONAPPDATA", applicationData)) {
    log.Error(L"GetPdtConfigDirPath: Failed to get the Product Config directory path.");
    return false;
  }
  // The installer records the folder with a trailing backslash; an administrator may not.
  if (!applicationData.empty() && !applicationData.ends_with(L'\\')) applicationData += L'\\';
  path = applicationData + L"KelvaneServer\\cfg";
  log.Info(L"GetPdtConfigDirPath: Product Config path from registry is %s", path.c_str());
  return true;
}

bool GetInstallDefaultsDirPath(std::wstring& path) {
  LogScope log;
  std::wstring configuration;
  if (!GetPdtConfigDirPath(configuration) || configuration.empty()) {
    log.Error(L"GetInstallDefaultsDirPath: Failed to get the install-defaults directory path.");
    return false;
  }
  path = configuration + L"\\install-defaults\\";
  log.Info(L"GetInstallDefaultsDirPath: install-defaults directory path is %s", path.c_str());
  return true;
}

std::wstring GetInstallParameter(const std::wstring& name) {
  LogScope log;
  log.Info(L"GetInstallParameter: Retrieving the data for %s", name.c_str());
  std::wstring folder;
  if (!GetInstallDefaultsDirPath(folder)) return {};
  std::wstring value = Utf8ToWide(GetFileContents(folder + name));
  log.Info(L"GetInstallParameter: PropertyName=[%s] : Value=[%s]", name.c_str(), value.c_str());
  return value;
}

std::wstring GetProductCodeFromUpgradeCode(const std::wstring& upgradeCode) {
  LogScope log;
  wchar_t productCode[kProductCodeSize] = {};
  // Of several related products the first decides.
  if (MsiEnumRelatedProductsW(upgradeCode.c_str(), 0, 0, productCode) != ERROR_SUCCESS) {
    log.Info(L"GetProductCodeFromUpgradeCode: No products found for UpgradeCode %ws",
             upgradeCode.c_str());
    return {};
  }
  log.Info(L"GetProductCodeFromUpgradeCode: Product %ws installed with UpgradeCode %ws",
           productCode, upgradeCode.c_str());
  return productCode;
}

std::wstring GetInstallPropertyFromUpgradeCode(const std::wstring& upgradeCode,
                                               const std::wstring& propertyName) {
  LogScope log;
  const std::wstring productCode = GetProductCodeFromUpgradeCode(upgradeCode);
  if (productCode.empty()) return {};
  // A real buffer, if one without room: asked without a buffer the call succeeds.
  wchar_t none[1] = {};
  DWORD length = 0;
  UINT error = MsiGetProductInfoW(productCode.c_str(), propertyName.c_str(), none, &length);
  // Not every system counts the end of an empty value as more data; an empty one is no value.
  if (error != ERROR_MORE_DATA || length == 0) {
    log.Error(
        L"GetInstallPropertyFromUpgradeCode: Failed to get size of the install parameter. Error code: %d %d",
        error, length);
    return {};
  }
  ++length;
  const std::unique_ptr<wchar_t[]> value(new (std::nothrow) wchar_t[length]());
  if (value == nullptr) {
    log.Info(
        L"GetInstallPropertyFromUpgradeCode: Failed to allocate memory to retrieve the install parameter.");
    return {};
  }
  error = MsiGetProductInfoW(productCode.c_str(), propertyName.c_str(), value.get(), &length);
  if (error != ERROR_SUCCESS) {
    log.Error(L"GetInstallPropertyFromUpgradeCode: Failed to retrieve the install parameter.");
    return {};
  }
  return value.get();
}

}  // namespace Halvard::Host
