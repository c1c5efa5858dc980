// The installer: its database of installed products, and unpacking packages. The functions answer
// the error code themselves.
#pragma once

#include <minwindef.h>
#include <winnt.h>

typedef enum tagINSTALLUILEVEL {
  INSTALLUILEVEL_DEFAULT = 1,
  INSTALLUILEVEL_NONE = 2,
} INSTALLUILEVEL;

UINT WINAPI MsiEnumRelatedProductsW(LPCWSTR upgradeCode, DWORD reserved, DWORD index,
                                    LPWSTR productCode);
UINT WINAPI MsiGetProductInfoW(LPCWSTR productCode, LPCWSTR property, LPWSTR value,
                               LPDWORD valueLength);

/// \param window  Null.
/// \return The level before; the level holds for the whole process.
INSTALLUILEVEL WINAPI MsiSetInternalUI(INSTALLUILEVEL level, HWND* window);

/// Makes an administrative image of a package: its files, unpacked below a folder.
/// \param properties  ACTION=ADMIN and an absolute TARGETDIR, in this form and no other.
UINT WINAPI MsiInstallProductW(LPCWSTR package, LPCWSTR properties);
