// Reading a file in Windows' text mode.
#pragma once

#include <cstdio>

namespace Lab {

/// \param descriptor  Open for reading; closed with the stream, or at once after a failure.
/// \return A stream that reads a carriage return before a line feed as nothing, and the control
///         character 26 as the end of the file. Other carriage returns stay.
std::FILE* OpenTextReader(int descriptor);

}  // namespace Lab
