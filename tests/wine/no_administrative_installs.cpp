// Takes the place of the import of MsiInstallProductW in a program that is tested under Wine.
//
// Wine answers 1626 to an administrative install and makes none. This one makes the files that the
// agent looks for, empty, whatever the package. Everything else of the program is as in the
// product.
#include <windows.h>

#include <msi.h>
#include <shlobj.h>

#include <string>

#include "runner/package_layout.h"

namespace {

void MakeFile(const std::wstring& path) {
  (void)SHCreateDirectoryExW(nullptr, path.substr(0, path.rfind(L'\\')).c_str(), nullptr);
  CloseHandle(CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                          FILE_ATTRIBUTE_NORMAL, nullptr));
}

}  // namespace

// The header doesn't mark it as imported, so calls go to the function itself. The linker takes this
// one before it looks into the import library.
UINT WINAPI MsiInstallProductW(LPCWSTR, LPCWSTR properties) {
  // ACTION=ADMIN TARGETDIR="..."
  const std::wstring text = properties;
  const std::size_t begin = text.find(L'"') + 1;
  const std::wstring target = text.substr(begin, text.rfind(L'"') - begin);
  MakeFile(target + Halvard::Runner::kInterpreter);
  MakeFile(target + Halvard::Runner::kRunnerScript);
  return ERROR_SUCCESS;
}
