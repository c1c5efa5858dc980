// Time since the start of the machine, and the time of day.
#pragma once

#include <minwinbase.h>

/// The lower half of the 64 bits: it wraps after 49 days.
DWORD WINAPI GetTickCount();
ULONGLONG WINAPI GetTickCount64();
/// \return Characters without the terminator; with it, the buffer untouched, when it is too small.
UINT WINAPI GetSystemDirectoryW(LPWSTR buffer, UINT size);
void WINAPI GetSystemTimeAsFileTime(LPFILETIME time);
