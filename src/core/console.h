// The operator's console: text out, lines in.
#pragma once

#include <optional>
#include <string>

namespace Halvard {

/// Prints \p text as it stands on the console and flushes it.
void Print(const std::wstring& text);

/// Prints \p text and a line end on the console and flushes it.
void PrintLine(const std::wstring& text = {});

/// Reads one line from standard input, a console or not. Blocks until it is complete.
/// \return The line without its end; what there was, possibly nothing, when the input ends.
///
/// Ctrl+C and Ctrl+Break don't end a line: the console drops what was typed so far, and the
/// reading goes on.
std::wstring ReadLine();

/// The same for a caller to whom the end of the input is no empty line.
/// \return Nothing when the input has ended before the first character.
std::optional<std::wstring> ReadLineOrEnd();

/// Reads one line from the console and shows a star for each character; backspace takes one back.
/// \return The line. Empty at once when standard input is no console.
std::wstring ReadMaskedLine();

}  // namespace Halvard
