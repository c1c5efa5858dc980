// Time since the start of the machine, and the time of day.
#pragma once

#include <minwinbase.h>

ULONGLONG WINAPI GetTickCount64();
void WINAPI GetSystemTimeAsFileTime(LPFILETIME time);
