// The standard handles of this process, joined to connections of the host's Python.
#pragma once

#include <winsock2.h>

#include <thread>

namespace Lab::Wine {

/// Hands on what is read from standard input, and its end. Lives until the process ends: a console
/// that nobody writes at keeps it waiting.
void StartForwardingInput(SOCKET connection);

/// Writes what comes over a connection to a standard handle, until the connection ends.
/// \param number  STD_OUTPUT_HANDLE or STD_ERROR_HANDLE.
std::thread StartForwardingOutput(SOCKET connection, unsigned long number);

}  // namespace Lab::Wine
