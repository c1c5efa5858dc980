// Job objects.
#pragma once

#include <minwinbase.h>

HANDLE WINAPI CreateJobObjectW(LPSECURITY_ATTRIBUTES attributes, LPCWSTR name);
BOOL WINAPI AssignProcessToJobObject(HANDLE job, HANDLE process);
BOOL WINAPI TerminateJobObject(HANDLE job, UINT exitCode);
