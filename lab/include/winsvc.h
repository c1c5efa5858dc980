// The service manager.
#pragma once

#include <minwindef.h>
#include <winnt.h>

#define SC_MANAGER_ALL_ACCESS 0xF003Fu

#define SERVICE_QUERY_CONFIG 0x0001u
#define SERVICE_QUERY_STATUS 0x0004u
#define SERVICE_ENUMERATE_DEPENDENTS 0x0008u
#define SERVICE_START 0x0010u

#define SERVICE_STOPPED 1u
#define SERVICE_RUNNING 4u

struct SC_HANDLE__;
using SC_HANDLE = SC_HANDLE__*;

/// Its texts lie behind it in the same block.
struct QUERY_SERVICE_CONFIGW {
  DWORD dwServiceType;
  DWORD dwStartType;
  DWORD dwErrorControl;
  LPWSTR lpBinaryPathName;
  LPWSTR lpLoadOrderGroup;
  DWORD dwTagId;
  LPWSTR lpDependencies;
  LPWSTR lpServiceStartName;
  LPWSTR lpDisplayName;
};
using LPQUERY_SERVICE_CONFIGW = QUERY_SERVICE_CONFIGW*;

enum SC_STATUS_TYPE { SC_STATUS_PROCESS_INFO = 0 };

struct SERVICE_STATUS_PROCESS {
  DWORD dwServiceType;
  DWORD dwCurrentState;
  DWORD dwControlsAccepted;
  DWORD dwWin32ExitCode;
  DWORD dwServiceSpecificExitCode;
  DWORD dwCheckPoint;
  DWORD dwWaitHint;  ///< Milliseconds.
  DWORD dwProcessId;
  DWORD dwServiceFlags;
};

BOOL WINAPI CloseServiceHandle(SC_HANDLE object);
SC_HANDLE WINAPI OpenSCManagerW(LPCWSTR machine, LPCWSTR database, DWORD access);
SC_HANDLE WINAPI OpenServiceW(SC_HANDLE manager, LPCWSTR name, DWORD access);
BOOL WINAPI QueryServiceConfigW(SC_HANDLE service, LPQUERY_SERVICE_CONFIGW configuration,
                                DWORD size, LPDWORD needed);
BOOL WINAPI QueryServiceStatusEx(SC_HANDLE service, SC_STATUS_TYPE level, LPBYTE buffer, DWORD size,
                                 LPDWORD needed);
BOOL WINAPI StartServiceW(SC_HANDLE service, DWORD argumentCount, LPCWSTR* arguments);
