// Takes the place of the import of MsiInstallProductW in a program that is tested under Wine.
//
// Wine's installer answers 1626 to an administrative install, though it carries out every step of
// one. So the steps are asked for one by one; the files are unpacked by Wine, and nothing is
// registered. Any other install is Wine's own.
#include <windows.h>

#include <msi.h>
#include <msiquery.h>

#include <optional>
#include <string>

#include "wines_own.h"

namespace {

/// \return The folder of the image; nothing for an install of another kind.
std::optional<std::wstring> TargetOf(const std::wstring& properties) {
  constexpr std::wstring_view kBegin = L"ACTION=ADMIN TARGETDIR=\"";
  if (!properties.starts_with(kBegin) || !properties.ends_with(L'"')) return std::nullopt;
  return properties.substr(kBegin.size(), properties.size() - kBegin.size() - 1);
}

UINT MakeImage(MSIHANDLE package, const std::wstring& target) {
  UINT result = MsiSetPropertyW(package, L"TARGETDIR", target.c_str());
  // Of the standard folders an image has plain ones; Wine takes this one for that of the machine.
  const std::wstring programs = target + L"\\PFiles\\";
  if (result == ERROR_SUCCESS) {
    result = MsiSetPropertyW(package, L"ProgramFilesFolder", programs.c_str());
  }
  if (result != ERROR_SUCCESS) return result;
  return MsiSequenceW(package, L"AdminExecuteSequence", 0);
}

}  // namespace

// The header doesn't mark it as imported, so calls go to the function itself. The linker takes this
// one before it looks into the import library.
UINT WINAPI MsiInstallProductW(LPCWSTR path, LPCWSTR properties) {
  const std::optional<std::wstring> target = TargetOf(properties);
  if (!target) {
    return Supplied::WinesOwn<decltype(&MsiInstallProductW)>(L"msi.dll", "MsiInstallProductW")(
        path, properties);
  }
  if (GetFileAttributesW(path) == INVALID_FILE_ATTRIBUTES) return ERROR_FILE_NOT_FOUND;
  MSIHANDLE package = 0;
  // Wine says 1627 of a file that is no package.
  if (MsiOpenPackageW(path, &package) != ERROR_SUCCESS) return ERROR_INSTALL_PACKAGE_INVALID;
  const UINT result = MakeImage(package, *target);
  MsiCloseHandle(package);
  return result;
}
