// Folders of the shell.
#pragma once

#include <combaseapi.h>
#include <knownfolders.h>
#include <minwinbase.h>

/// \return The error code. Folders above it that don't exist are made as well.
int WINAPI SHCreateDirectoryExW(HWND window, LPCWSTR path, const SECURITY_ATTRIBUTES* attributes);
HRESULT WINAPI SHGetKnownFolderPath(REFKNOWNFOLDERID id, DWORD flags, HANDLE token, PWSTR* path);
