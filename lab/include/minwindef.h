// The basic types of the Windows API, as wide as on 64-bit Windows.
#pragma once

#include <cstddef>
#include <cstdint>

using BYTE = std::uint8_t;
using WORD = std::uint16_t;
using DWORD = std::uint32_t;
using LONG = std::int32_t;
using ULONG = std::uint32_t;
using UINT = unsigned int;
using INT = int;
using BOOL = int;
using BOOLEAN = std::uint8_t;
using WCHAR = wchar_t;
using HANDLE = void*;
