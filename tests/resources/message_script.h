// Reads the scripts of the string tables, so that tests can compare languages and look into what
// was linked.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

/// The rows of one script: id and text. Texts are UTF-8, with real line ends.
using MessageTable = std::map<unsigned int, std::string>;

/// One language and the script that the program speaks it by.
struct MessageLanguage {
  std::uint16_t id = 0;
  std::string script;
};

/// \return The rows between BEGIN and END. Reports a test failure for a row that it can't read, and
///         for an id that comes twice.
MessageTable ParseMessageScript(std::string_view script);

/// \return The languages of the script that includes all others, in its order.
std::vector<MessageLanguage> ParseMessageLanguages(std::string_view script);
