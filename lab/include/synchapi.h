// Mutexes, events, waiting and sleeping. Times are milliseconds of the machine's clock.
#pragma once

#include <minwinbase.h>
#include <winerror.h>

#define WAIT_OBJECT_0 0u
#define WAIT_ABANDONED 0x80u
#define WAIT_ABANDONED_0 0x80u
#define WAIT_IO_COMPLETION 0xC0u
#define WAIT_FAILED 0xFFFFFFFFu

HANDLE WINAPI CreateMutexW(LPSECURITY_ATTRIBUTES attributes, BOOL initialOwner, LPCWSTR name);
HANDLE WINAPI CreateEventW(LPSECURITY_ATTRIBUTES attributes, BOOL manualReset, BOOL initialState,
                           LPCWSTR name);
BOOL WINAPI SetEvent(HANDLE event);
BOOL WINAPI ResetEvent(HANDLE event);
DWORD WINAPI WaitForSingleObject(HANDLE object, DWORD milliseconds);
DWORD WINAPI WaitForMultipleObjects(DWORD count, const HANDLE* objects, BOOL all,
                                    DWORD milliseconds);
/// Nothing of the agent's is ever called by an alertable wait, so \p alertable makes no difference.
DWORD WINAPI WaitForMultipleObjectsEx(DWORD count, const HANDLE* objects, BOOL all,
                                      DWORD milliseconds, BOOL alertable);
void WINAPI Sleep(DWORD milliseconds);
