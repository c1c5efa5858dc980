// UTF-8 and wide text.
#pragma once

#include <minwindef.h>
#include <winnt.h>

#define CP_UTF8 65001
#define MB_ERR_INVALID_CHARS 0x08u
#define WC_ERR_INVALID_CHARS 0x80u

int WINAPI MultiByteToWideChar(UINT codePage, DWORD flags, LPCCH text, int textSize, LPWSTR buffer,
                               int bufferSize);
int WINAPI WideCharToMultiByte(UINT codePage, DWORD flags, LPCWCH text, int textSize, LPSTR buffer,
                               int bufferSize, LPCCH defaultCharacter, LPBOOL usedDefault);
