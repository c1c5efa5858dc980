// The console of the process: its input, its modes and its control events.
#pragma once

#include <minwinbase.h>

#define CTRL_C_EVENT 0
#define CTRL_BREAK_EVENT 1
#define CTRL_CLOSE_EVENT 2
#define CTRL_LOGOFF_EVENT 5
#define CTRL_SHUTDOWN_EVENT 6

#define ENABLE_PROCESSED_INPUT 0x0001u
#define ENABLE_LINE_INPUT 0x0002u
#define ENABLE_ECHO_INPUT 0x0004u

using PHANDLER_ROUTINE = BOOL (*)(DWORD);

BOOL WINAPI GetConsoleMode(HANDLE console, LPDWORD mode);
BOOL WINAPI SetConsoleMode(HANDLE console, DWORD mode);
BOOL WINAPI ReadConsoleW(HANDLE console, LPVOID buffer, DWORD size, LPDWORD read, LPVOID control);
BOOL WINAPI SetConsoleCtrlHandler(PHANDLER_ROUTINE handler, BOOL add);
