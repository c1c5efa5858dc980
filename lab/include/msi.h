// The installer's database of installed products. The functions answer the error code themselves.
#pragma once

#include <minwindef.h>
#include <winnt.h>

#define INSTALLPROPERTY_VERSIONSTRING L"VersionString"

UINT WINAPI MsiEnumRelatedProductsW(LPCWSTR upgradeCode, DWORD reserved, DWORD index,
                                    LPWSTR productCode);
UINT WINAPI MsiGetProductInfoW(LPCWSTR productCode, LPCWSTR property, LPWSTR value,
                               LPDWORD valueLength);
