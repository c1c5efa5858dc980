// The console's window.
#pragma once

#include <consoleapi.h>

struct COORD {
  SHORT X;
  SHORT Y;
};

struct SMALL_RECT {
  SHORT Left;
  SHORT Top;
  SHORT Right;
  SHORT Bottom;
};

BOOL WINAPI SetConsoleScreenBufferSize(HANDLE output, COORD size);
BOOL WINAPI SetConsoleWindowInfo(HANDLE output, BOOL absolute, const SMALL_RECT* window);
HWND WINAPI GetConsoleWindow();
