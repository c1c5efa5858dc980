// The string tables that the program was linked with.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace Lab {

/// One string, as the generated source of a resource script holds it.
struct TableString {
  std::uint16_t language;
  std::uint16_t id;
  std::wstring_view text;
};

/// An object of this class, one in each generated source, makes its strings known before main().
class LinkedStrings {
 public:
  LinkedStrings(const TableString* strings, std::size_t count);
};

/// Strings lie in blocks of 16 ids, and each language has a block of its own or none.
/// \return True when the language has a string in the block of \p id.
bool HasStringBlock(std::uint16_t language, std::uint16_t id);

/// \return The lowest language that has the block; 0 when none has.
std::uint16_t FirstLanguageOfBlock(std::uint16_t id);

/// \return The string; empty when the language hasn't got it.
std::wstring_view FindString(std::uint16_t language, std::uint16_t id);

}  // namespace Lab
