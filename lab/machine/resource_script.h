// Reading string tables out of resource scripts, the very files that the resource compiler takes.
#pragma once

#include <cstdint>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

namespace Lab {

/// A script that can't be read. what() is one line: file, line number, what was expected.
class ResourceScriptError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// One string of a table.
struct ScriptString {
  std::uint16_t language = 0;
  std::uint16_t id = 0;
  std::string text;  ///< UTF-8, escapes resolved.

  bool operator==(const ScriptString&) const = default;
};

struct ResourceScript {
  std::vector<ScriptString> strings;         ///< In the order of the script.
  std::vector<std::filesystem::path> files;  ///< The script and all that it includes.
};

/// Reads a script and what it includes. Understood are LANGUAGE with two numbers, STRINGTABLE,
/// #include "file", #pragma and comments; anything else is a fault, as is an id that occurs twice
/// in a language.
/// \throw ResourceScriptError
ResourceScript ReadResourceScript(const std::filesystem::path& file);

}  // namespace Lab
