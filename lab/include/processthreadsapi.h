// Processes and threads.
#pragma once

#include <minwinbase.h>

DWORD WINAPI GetCurrentProcessId();
BOOL WINAPI ProcessIdToSessionId(DWORD processId, DWORD* sessionId);
BOOL WINAPI SetProcessShutdownParameters(DWORD level, DWORD flags);

/// The thread runs at once: flags are 0. Inheritable attributes mark the handle and nothing else.
HANDLE WINAPI CreateThread(LPSECURITY_ATTRIBUTES attributes, SIZE_T stackSize,
                           LPTHREAD_START_ROUTINE start, LPVOID parameter, DWORD flags,
                           LPDWORD threadId);
