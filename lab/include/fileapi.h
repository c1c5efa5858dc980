// Files and folders.
#pragma once

#include <handleapi.h>
#include <minwinbase.h>

#define CREATE_NEW 1
#define CREATE_ALWAYS 2
#define OPEN_EXISTING 3
#define OPEN_ALWAYS 4

#define FILE_FLAG_OVERLAPPED 0x40000000u
#define FILE_FLAG_DELETE_ON_CLOSE 0x04000000u
#define FILE_FLAG_BACKUP_SEMANTICS 0x02000000u

#define INVALID_FILE_SIZE 0xFFFFFFFFu
#define INVALID_FILE_ATTRIBUTES 0xFFFFFFFFu

HANDLE WINAPI CreateFileW(LPCWSTR name, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES attributes,
                          DWORD disposition, DWORD flagsAndAttributes, HANDLE templateFile);
BOOL WINAPI ReadFile(HANDLE file, LPVOID buffer, DWORD size, LPDWORD read, LPOVERLAPPED overlapped);
BOOL WINAPI WriteFile(HANDLE file, LPCVOID data, DWORD size, LPDWORD written,
                      LPOVERLAPPED overlapped);
DWORD WINAPI GetFileSize(HANDLE file, LPDWORD sizeHigh);
BOOL WINAPI GetFileSizeEx(HANDLE file, PLARGE_INTEGER size);

BOOL WINAPI DeleteFileW(LPCWSTR name);
DWORD WINAPI GetFileAttributesW(LPCWSTR name);

BOOL WINAPI CreateDirectoryW(LPCWSTR name, LPSECURITY_ATTRIBUTES attributes);
BOOL WINAPI RemoveDirectoryW(LPCWSTR name);
BOOL WINAPI GetDiskFreeSpaceExW(LPCWSTR folder, PULARGE_INTEGER freeToCaller, PULARGE_INTEGER total,
                                PULARGE_INTEGER totalFree);

HANDLE WINAPI FindFirstFileW(LPCWSTR pattern, LPWIN32_FIND_DATAW entry);
BOOL WINAPI FindNextFileW(HANDLE find, LPWIN32_FIND_DATAW entry);
BOOL WINAPI FindClose(HANDLE find);

DWORD WINAPI GetTempPathW(DWORD size, LPWSTR buffer);
UINT WINAPI GetTempFileNameW(LPCWSTR folder, LPCWSTR prefix, UINT number, LPWSTR buffer);
