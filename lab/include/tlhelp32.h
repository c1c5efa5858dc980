// Snapshots of what runs: threads of the system, modules of a process.
#pragma once

#include <windows.h>

#define TH32CS_SNAPTHREAD 0x00000004u
#define TH32CS_SNAPMODULE 0x00000008u
#define MAX_MODULE_NAME32 255

struct THREADENTRY32 {
  DWORD dwSize;
  DWORD cntUsage;
  DWORD th32ThreadID;
  DWORD th32OwnerProcessID;
  LONG tpBasePri;
  LONG tpDeltaPri;
  DWORD dwFlags;
};
using LPTHREADENTRY32 = THREADENTRY32*;

struct MODULEENTRY32W {
  DWORD dwSize;
  DWORD th32ModuleID;
  DWORD th32ProcessID;
  DWORD GlblcntUsage;
  DWORD ProccntUsage;
  BYTE* modBaseAddr;
  DWORD modBaseSize;
  HMODULE hModule;
  WCHAR szModule[MAX_MODULE_NAME32 + 1];
  WCHAR szExePath[MAX_PATH];
};
using LPMODULEENTRY32W = MODULEENTRY32W*;

/// Modules are those of this process (0). Of other processes the lab knows one thread.
HANDLE WINAPI CreateToolhelp32Snapshot(DWORD flags, DWORD processId);
BOOL WINAPI Thread32First(HANDLE snapshot, LPTHREADENTRY32 entry);
BOOL WINAPI Thread32Next(HANDLE snapshot, LPTHREADENTRY32 entry);
BOOL WINAPI Module32FirstW(HANDLE snapshot, LPMODULEENTRY32W entry);
BOOL WINAPI Module32NextW(HANDLE snapshot, LPMODULEENTRY32W entry);
