// Descriptors of streams and their text modes.
#pragma once

#include <cstdio>

#define _O_TEXT 0x4000
#define _O_U8TEXT 0x40000

int _fileno(std::FILE* stream);
int _setmode(int descriptor, int mode);
