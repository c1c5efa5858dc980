// Overlapped input and output.
#pragma once

#include <minwinbase.h>

/// What became of a call that works on in the background; never waits for it (\p wait is FALSE).
BOOL WINAPI GetOverlappedResult(HANDLE file, LPOVERLAPPED overlapped, LPDWORD bytes, BOOL wait);
