// Windows on the screen, and string resources.
#pragma once

#include <minwindef.h>
#include <winnt.h>

#define HWND_NOTOPMOST (reinterpret_cast<HWND>(static_cast<LONG_PTR>(-2)))
#define SWP_NOSIZE 0x0001u
#define SW_HIDE 0

BOOL WINAPI SetWindowPos(HWND window, HWND after, int x, int y, int width, int height, UINT flags);
int WINAPI LoadStringW(HINSTANCE module, UINT id, LPWSTR buffer, int bufferLength);
