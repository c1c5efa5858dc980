// Version resources of files.
#pragma once

#include <minwindef.h>

#define VS_FFI_SIGNATURE 0xFEEF04BDu

struct VS_FIXEDFILEINFO {
  DWORD dwSignature;
  DWORD dwStrucVersion;
  DWORD dwFileVersionMS;
  DWORD dwFileVersionLS;
  DWORD dwProductVersionMS;
  DWORD dwProductVersionLS;
  DWORD dwFileFlagsMask;
  DWORD dwFileFlags;
  DWORD dwFileOS;
  DWORD dwFileType;
  DWORD dwFileSubtype;
  DWORD dwFileDateMS;
  DWORD dwFileDateLS;
};

DWORD WINAPI GetFileVersionInfoSizeW(LPCWSTR path, LPDWORD handle);
BOOL WINAPI GetFileVersionInfoW(LPCWSTR path, DWORD handle, DWORD size, LPVOID data);
BOOL WINAPI VerQueryValueW(LPCVOID block, LPCWSTR name, LPVOID* value, UINT* length);
