// Security descriptors as text, as "O:BAG:SYD:P(A;OICI;FA;;;BA)".
#pragma once

#include <string>
#include <vector>

#include "security/descriptor.h"

namespace Lab {

/// Knows owner, group and a list of entries that allow or deny; rights as a number from 0x or as
/// the letters of generic, file and standard rights; identifiers by number or by the letters of the
/// usual ones. "D:NO_ACCESS_CONTROL" is no list.
/// \throw std::invalid_argument that names the part of the text that isn't understood.
SecurityDescriptor ParseSddl(const std::wstring& text);

/// \return The text that ParseSddl() reads so, with letters for identifiers and full rights.
std::wstring SddlText(const SecurityDescriptor& descriptor);

/// \return The part of it that lists entries: "(A;OICI;FA;;;BA)(D;;0x1;;;BU)".
std::wstring EntriesText(const std::vector<AccessEntry>& entries);

}  // namespace Lab
