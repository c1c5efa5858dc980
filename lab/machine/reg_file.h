// The text form of a registry, as the registry editor exports it.
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

#include "machine/registry.h"

namespace Lab {

/// What the first line of a .reg text has to be.
inline constexpr std::string_view kRegFileHeader = "Windows Registry Editor Version 5.00";

/// A .reg text that can't be read. what() names the line and what was expected.
class RegFileError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Lays a .reg text over \p tree: keys and values are added or replaced; "[-KEY]" removes a key
/// with all below it, "name"=- a value. \param contents  The file's bytes: UTF-8, or UTF-16 with
/// its mark as the editor writes it. \throw RegFileError; \p tree then holds what stood before the
/// fault.
void ReadRegFile(std::string_view contents, RegistryTree& tree);

/// \return The tree as .reg text in UTF-8, in the order of its keys. ReadRegFile() reads it back to
///         an equal tree.
std::string WriteRegFile(const RegistryTree& tree);

}  // namespace Lab
