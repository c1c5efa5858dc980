// Processes and threads.
#pragma once

#include <minwinbase.h>

/// Start-up record. Of its members the lab knows the size and the window's state.
struct STARTUPINFOW {
  DWORD cb;
  LPWSTR lpReserved;
  LPWSTR lpDesktop;
  LPWSTR lpTitle;
  DWORD dwX;
  DWORD dwY;
  DWORD dwXSize;
  DWORD dwYSize;
  DWORD dwXCountChars;
  DWORD dwYCountChars;
  DWORD dwFillAttribute;
  DWORD dwFlags;
  WORD wShowWindow;
  WORD cbReserved2;
  LPBYTE lpReserved2;
  HANDLE hStdInput;
  HANDLE hStdOutput;
  HANDLE hStdError;
};
using LPSTARTUPINFOW = STARTUPINFOW*;

struct PROCESS_INFORMATION {
  HANDLE hProcess;
  HANDLE hThread;
  DWORD dwProcessId;
  DWORD dwThreadId;
};
using LPPROCESS_INFORMATION = PROCESS_INFORMATION*;

/// The program runs on the host (see the lab's README), suspended and without a window: the flags
/// are CREATE_SUSPENDED, CREATE_NEW_CONSOLE, CREATE_UNICODE_ENVIRONMENT and
/// CREATE_BREAKAWAY_FROM_JOB, the record says STARTF_USESHOWWINDOW and SW_HIDE.
BOOL WINAPI CreateProcessW(LPCWSTR application, LPWSTR commandLine, LPSECURITY_ATTRIBUTES process,
                           LPSECURITY_ATTRIBUTES thread, BOOL inherit, DWORD flags,
                           LPVOID environment, LPCWSTR folder, LPSTARTUPINFOW startup,
                           LPPROCESS_INFORMATION started);
DWORD WINAPI ResumeThread(HANDLE thread);
BOOL WINAPI TerminateProcess(HANDLE process, UINT exitCode);
BOOL WINAPI GetExitCodeProcess(HANDLE process, LPDWORD exitCode);

/// A handle to wait for the end of a thread of this process.
HANDLE WINAPI OpenThread(DWORD access, BOOL inherit, DWORD threadId);
DWORD WINAPI GetCurrentThreadId();

/// Stands for the calling thread; it needn't be closed.
HANDLE WINAPI GetCurrentThread();
BOOL WINAPI OpenThreadToken(HANDLE thread, DWORD access, BOOL openAsSelf, PHANDLE token);

HANDLE WINAPI GetCurrentProcess();
BOOL WINAPI OpenProcessToken(HANDLE process, DWORD access, PHANDLE token);

DWORD WINAPI GetCurrentProcessId();
BOOL WINAPI ProcessIdToSessionId(DWORD processId, DWORD* sessionId);
BOOL WINAPI SetProcessShutdownParameters(DWORD level, DWORD flags);

/// The thread runs at once: flags are 0. Inheritable attributes mark the handle and nothing else.
HANDLE WINAPI CreateThread(LPSECURITY_ATTRIBUTES attributes, SIZE_T stackSize,
                           LPTHREAD_START_ROUTINE start, LPVOID parameter, DWORD flags,
                           LPDWORD threadId);
