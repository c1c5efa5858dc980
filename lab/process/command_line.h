// Command lines of Windows: which program one means, and what arguments the program sees.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "minwindef.h"

namespace Lab {

/// What a command line means, or why it means nothing.
struct FoundProgram {
  std::filesystem::path host;  ///< The program's file on the host.
  std::wstring_view rest;      ///< What follows the program in the command line.
  DWORD error = 0;
};

/// Finds the program as CreateProcessW does without an application name: what a quote encloses, or
/// the shortest text up to a blank that names a file. Without an extension ".exe" is meant.
FoundProgram FindProgram(std::wstring_view commandLine);

/// Divides what follows the program into arguments, by the rules of Windows' C runtime: blanks
/// divide but in quotes, and backslashes are plain but before a quote.
std::vector<std::wstring> SplitArguments(std::wstring_view text);

/// \return The argument for a program of the host, in UTF-8: an absolute path of the machine that
///         it begins with, or that follows its first "=", is replaced by the place on the host.
std::string HostArgument(const std::wstring& argument);

}  // namespace Lab
