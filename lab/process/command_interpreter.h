// cmd.exe, as far as the agent uses it: one script with its output appended to a file.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace Lab {

/// \return True when the program's file is the command interpreter. It isn't when the machine's
///         description names another program for it ("programs").
bool IsCommandInterpreter(const std::filesystem::path& program);

/// What the host runs for a command line of the interpreter:
///
///     /S /C ""C:\Scripts\x.bat" --all >> C:\log.txt 2>&1"
///
/// The first quote and the last go, as the interpreter has it; what is left is a script of the
/// machine, its arguments, and files for its output. A script that isn't there is told in that
/// output and gives exit code 1. A script begins with "#!"; programs of the lab are found on its
/// path.
/// \param rest  What follows the program in the command line.
/// Anything else is refused aloud.
std::vector<std::string> InterpreterCommand(std::wstring_view rest);

}  // namespace Lab
