// File operations of the shell.
#pragma once

#include <minwindef.h>

#define FO_DELETE 0x0003u

using FILEOP_FLAGS = WORD;
#define FOF_SILENT 0x0004
#define FOF_NOCONFIRMATION 0x0010
#define FOF_NOCONFIRMMKDIR 0x0200
#define FOF_NOERRORUI 0x0400

struct SHFILEOPSTRUCTW {
  HWND hwnd;
  UINT wFunc;
  PCZZWSTR pFrom;
  PCZZWSTR pTo;
  FILEOP_FLAGS fFlags;
  BOOL fAnyOperationsAborted;
  LPVOID hNameMappings;
  PCWSTR lpszProgressTitle;
};
using LPSHFILEOPSTRUCTW = SHFILEOPSTRUCTW*;

int WINAPI SHFileOperationW(LPSHFILEOPSTRUCTW operation);
