// Conversions between forms of a time.
#pragma once

#include <minwinbase.h>

BOOL WINAPI FileTimeToSystemTime(const FILETIME* fileTime, LPSYSTEMTIME systemTime);
