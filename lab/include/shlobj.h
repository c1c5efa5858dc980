// Folders of the shell.
#pragma once

#include <combaseapi.h>
#include <knownfolders.h>
#include <minwinbase.h>

HRESULT WINAPI SHGetKnownFolderPath(REFKNOWNFOLDERID id, DWORD flags, HANDLE token, PWSTR* path);
