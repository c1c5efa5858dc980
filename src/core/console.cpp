#include "core/console.h"

#include <cstdio>
#include <optional>

#include "core/text.h"
#include "host/windows_api.h"

namespace Halvard {
namespace {

/// One character of a console; nothing at the end of the input or after a failure.
std::optional<wchar_t> ReadConsoleCharacter(HANDLE input) {
  for (;;) {
    wchar_t character = 0;
    DWORD count = 0;
    SetLastError(ERROR_SUCCESS);
    const BOOL read = ReadConsoleW(input, &character, 1, &count, nullptr);
    if (read && count == 1) return character;
    // Ctrl+C and Ctrl+Break end the read with no character; they are no answer to a prompt.
    if (count != 0 || GetLastError() != ERROR_OPERATION_ABORTED) return std::nullopt;
  }
}

std::optional<std::wstring> ReadConsoleLine(HANDLE input) {
  std::wstring line;
  for (;;) {
    const std::optional<wchar_t> next = ReadConsoleCharacter(input);
    if (!next && line.empty()) return std::nullopt;
    if (!next || *next == L'\n') return line;
    line.push_back(*next);
  }
}

/// The same from a pipe or a file, byte by byte: what follows the line is left for the next reader.
std::optional<std::wstring> ReadStreamLine(HANDLE input) {
  std::string line;
  for (;;) {
    char next = 0;
    DWORD count = 0;
    const bool read = ReadFile(input, &next, 1, &count, nullptr) && count == 1;
    if (!read && line.empty()) return std::nullopt;
    if (!read || next == '\n') return Utf8ToWide(line);
    line.push_back(next);
  }
}

/// Takes line input and echo from a console, and gives them back at its end.
class UnechoedInput {
 public:
  explicit UnechoedInput(HANDLE input) : input_(input) {
    DWORD mode = 0;
    if (!GetConsoleMode(input_, &mode)) return;
    saved_ = mode;
    (void)SetConsoleMode(input_, mode & ~DWORD{ENABLE_LINE_INPUT | ENABLE_ECHO_INPUT});
  }
  UnechoedInput(const UnechoedInput&) = delete;
  UnechoedInput& operator=(const UnechoedInput&) = delete;
  ~UnechoedInput() {
    if (saved_) (void)SetConsoleMode(input_, *saved_);
  }

 private:
  HANDLE input_;
  std::optional<DWORD> saved_;
};

}  // namespace

void Print(const std::wstring& text) {
  // The whole text in one call: on some consoles a wide stream loses single characters.
  (void)std::fputws(text.c_str(), stdout);
  (void)std::fflush(stdout);
}

void PrintLine(const std::wstring& text) { Print(text + L"\n"); }

std::optional<std::wstring> ReadLineOrEnd() {
  const HANDLE input = GetStdHandle(STD_INPUT_HANDLE);
  DWORD mode = 0;
  std::optional<std::wstring> line =
      GetConsoleMode(input, &mode) ? ReadConsoleLine(input) : ReadStreamLine(input);
  if (line && line->ends_with(L'\r')) line->pop_back();
  return line;
}

std::wstring ReadLine() { return ReadLineOrEnd().value_or(std::wstring()); }

std::wstring ReadMaskedLine() {
  constexpr wchar_t kBackspace = 8;
  const HANDLE input = GetStdHandle(STD_INPUT_HANDLE);
  const UnechoedInput unechoed(input);
  std::wstring text;
  for (std::optional<wchar_t> next = ReadConsoleCharacter(input); next && *next != L'\r';
       next = ReadConsoleCharacter(input)) {
    if (*next != kBackspace) {
      text.push_back(*next);
      Print(L"*");
    } else if (!text.empty()) {
      text.pop_back();
      Print(L"\b \b");
    }
  }
  PrintLine();
  return text;
}

}  // namespace Halvard
