#include "process/command_line.h"

#include <algorithm>
#include <cstddef>

#include "machine/paths.h"
#include "machine/text.h"
#include "winerror.h"

namespace Lab {
namespace {

namespace fs = std::filesystem;

bool IsBlank(wchar_t c) { return c == L' ' || c == L'\t'; }

bool IsAbsolutePath(std::wstring_view text) {
  const bool hasDrive =
      text.size() >= 3 && text[1] == L':' && (text[2] == L'\\' || text[2] == L'/');
  const wchar_t letter = hasDrive ? static_cast<wchar_t>(text[0] | 0x20) : L'\0';
  return letter >= L'a' && letter <= L'z';
}

bool HasExtension(std::wstring_view path) {
  const std::size_t name = path.find_last_of(L"\\/") + 1;
  return path.find(L'.', name) != std::wstring_view::npos;
}

FoundPath FindFile(std::wstring_view path) {
  FoundPath found =
      FindPath(HasExtension(path) ? std::wstring(path) : std::wstring(path) + L".exe");
  if (found.error == ERROR_SUCCESS && fs::is_directory(found.host))
    found.error = ERROR_ACCESS_DENIED;
  return found;
}

FoundProgram FindUnquoted(std::wstring_view commandLine) {
  FoundProgram first;
  std::size_t end = 0;
  do {
    end = std::min(commandLine.find_first_of(L" \t", end + 1), commandLine.size());
    FoundPath found = FindFile(commandLine.substr(0, end));
    if (found.error == ERROR_SUCCESS) return {std::move(found.host), commandLine.substr(end), 0};
    if (first.error == ERROR_SUCCESS) first.error = found.error;
  } while (end < commandLine.size());
  return first;
}

/// Where the path lies on the host; folders that aren't there keep the names that they have.
fs::path PlaceOf(const std::wstring& path) {
  const FoundPath found = FindPath(path);
  if (found.error == ERROR_SUCCESS || found.error == ERROR_FILE_NOT_FOUND) return found.host;
  const std::size_t last = path.find_last_of(L"\\/");
  if (last == std::wstring::npos || last < 3) return {};
  const fs::path folder = PlaceOf(path.substr(0, last));
  return folder.empty() ? folder : folder / ToUtf8(path.substr(last + 1));
}

/// Takes one argument from the front of a text that doesn't begin with a blank.
std::wstring TakeArgument(std::wstring_view& text) {
  std::wstring argument;
  bool quoted = false;
  while (!text.empty() && (quoted || !IsBlank(text.front()))) {
    const std::size_t backslashes = std::min(text.find_first_not_of(L'\\'), text.size());
    text.remove_prefix(backslashes);
    const bool beforeQuote = !text.empty() && text.front() == L'"';
    argument.append(beforeQuote ? backslashes / 2 : backslashes, L'\\');
    if (text.empty()) break;
    if (!beforeQuote) {
      if (!quoted && IsBlank(text.front())) break;
      argument += text.front();
    } else if (backslashes % 2 == 1) {
      argument += L'"';
    } else if (quoted && text.size() > 1 && text[1] == L'"') {
      // Two quotes within quotes are one that stays.
      argument += L'"';
      text.remove_prefix(1);
    } else {
      quoted = !quoted;
    }
    text.remove_prefix(1);
  }
  return argument;
}

}  // namespace

FoundProgram FindProgram(std::wstring_view commandLine) {
  if (!commandLine.starts_with(L'"')) return FindUnquoted(commandLine);
  const std::size_t end = commandLine.find(L'"', 1);
  FoundPath found = FindFile(commandLine.substr(1, end - 1));
  if (found.error != ERROR_SUCCESS) return {{}, {}, found.error};
  return {std::move(found.host), commandLine.substr(std::min(end, commandLine.size() - 1) + 1), 0};
}

std::vector<std::wstring> SplitArguments(std::wstring_view text) {
  std::vector<std::wstring> arguments;
  for (;;) {
    while (!text.empty() && IsBlank(text.front())) text.remove_prefix(1);
    if (text.empty()) return arguments;
    arguments.push_back(TakeArgument(text));
  }
}

std::string HostArgument(const std::wstring& argument) {
  const std::size_t equals = argument.find(L'=');
  for (const std::size_t start : {std::size_t{0}, equals + 1}) {
    const std::wstring path = argument.substr(start);
    if (!IsAbsolutePath(path)) continue;
    std::string place = PlaceOf(path).string();
    if (place.empty()) break;
    if ((path.back() == L'\\' || path.back() == L'/') && !place.ends_with('/')) place += '/';
    return ToUtf8(argument.substr(0, start)) + place;
  }
  return ToUtf8(argument);
}

}  // namespace Lab
