#include <winsock2.h>

#include <windows.h>

#include <io.h>
#include <shellapi.h>

#include <cstdlib>
#include <iostream>

#include "host.h"

namespace Hvctl {
namespace {

std::string Utf8(const wchar_t* text) {
  const int size = WideCharToMultiByte(CP_UTF8, 0, text, -1, nullptr, 0, nullptr, nullptr);
  std::string result(static_cast<std::size_t>(size), '\0');
  WideCharToMultiByte(CP_UTF8, 0, text, -1, result.data(), size, nullptr, nullptr);
  result.pop_back();  // The terminating zero counts in both calls.
  return result;
}

}  // namespace

// The narrow arguments of main are in the system's code page, which can't hold every text.
std::vector<std::string> Arguments(int, char**) {
  int count = 0;
  wchar_t** const wide = CommandLineToArgvW(GetCommandLineW(), &count);
  std::vector<std::string> arguments;
  for (int i = 1; i < count; ++i) arguments.push_back(Utf8(wide[i]));
  LocalFree(wide);
  return arguments;
}

std::filesystem::path KnownAgentsFile() {
  if (const wchar_t* file = _wgetenv(L"HVCTL_KNOWN_AGENTS")) return file;
  const wchar_t* folder = _wgetenv(L"LOCALAPPDATA");
  return std::filesystem::path(folder == nullptr ? L"." : folder) / L"hvctl" / L"known_agents";
}

bool IsInteractive() { return _isatty(_fileno(stdin)) != 0 && _isatty(_fileno(stderr)) != 0; }

bool ShowsAtTerminal() { return _isatty(_fileno(stdout)) != 0; }

std::optional<std::string> EnvironmentVariable(const char* name) {
  const std::string narrow(name);
  const wchar_t* value = _wgetenv(std::wstring(narrow.begin(), narrow.end()).c_str());
  return value == nullptr ? std::nullopt : std::optional<std::string>(Utf8(value));
}

std::string AskHidden(const std::string& prompt) {
  const HANDLE console = GetStdHandle(STD_INPUT_HANDLE);
  DWORD shown = 0;
  GetConsoleMode(console, &shown);
  SetConsoleMode(console, shown & ~static_cast<DWORD>(ENABLE_ECHO_INPUT));
  std::cerr << prompt << std::flush;
  // The narrow stream can't read every text that a console takes.
  constexpr DWORD kLongestLine = 1024;
  wchar_t line[kLongestLine + 1] = {};
  DWORD length = 0;
  ReadConsoleW(console, line, kLongestLine, &length, nullptr);
  SetConsoleMode(console, shown);
  std::cerr << '\n';
  while (length > 0 && (line[length - 1] == L'\n' || line[length - 1] == L'\r')) --length;
  line[length] = L'\0';
  return Utf8(line);
}

void PrepareConsole() {
  SetConsoleOutputCP(CP_UTF8);
  SetConsoleCP(CP_UTF8);
}

}  // namespace Hvctl
