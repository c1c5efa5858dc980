// Time since the start of the machine, the time of day, and the machine's name.
#pragma once

#include <minwinbase.h>

/// The lower half of the 64 bits: it wraps after 49 days.
DWORD WINAPI GetTickCount();
/// \return Characters without the terminator; with it, the buffer untouched, when it is too small.
UINT WINAPI GetSystemDirectoryW(LPWSTR buffer, UINT size);
void WINAPI GetSystemTimeAsFileTime(LPFILETIME time);

enum COMPUTER_NAME_FORMAT {
  ComputerNameDnsFullyQualified = 3,
};
BOOL WINAPI GetComputerNameExW(COMPUTER_NAME_FORMAT kind, LPWSTR name, LPDWORD size);
