// Functions of Windows' C runtime, with its meaning of printf conversions.
#pragma once

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <ctime>
#include <cwchar>
#include <cwctype>

#include <share.h>

using errno_t = int;
using __time64_t = std::time_t;

/// The count that asks for as much as fits.
#define _TRUNCATE (static_cast<std::size_t>(-1))

int _vsnwprintf_s(wchar_t* buffer, std::size_t size, std::size_t count, const wchar_t* format,
                  va_list arguments);
int _snwprintf_s(wchar_t* buffer, std::size_t size, std::size_t count, const wchar_t* format, ...);
errno_t wcscpy_s(wchar_t* target, std::size_t size, const wchar_t* source);

/// \return A copy for free(); null without memory, which the lab can plan.
wchar_t* _wcsdup(const wchar_t* text);

double _wtof(const wchar_t* text);
int _wtoi(const wchar_t* text);
int _stricmp(const char* left, const char* right);
int _wcsicmp(const wchar_t* left, const wchar_t* right);
int _wcsnicmp(const wchar_t* left, const wchar_t* right, std::size_t count);

std::FILE* _wfopen(const wchar_t* name, const wchar_t* mode);
std::FILE* _wfsopen(const wchar_t* name, const wchar_t* mode, int share);

__time64_t _time64(__time64_t* time);
errno_t _localtime64_s(std::tm* fields, const __time64_t* time);
