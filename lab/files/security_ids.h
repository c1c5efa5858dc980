// Security identifiers in their binary form.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "winnt.h"

namespace Lab {

/// \return The bytes that an identifier with so many sub-authorities takes.
std::size_t SidBytes(std::uint8_t subAuthorities);

/// \return False for what no function would accept as an identifier.
bool IsValidSid(const SID& sid);

/// \return The identifier as people write it: S-1-5-32-544. It may lie at any address.
std::wstring SidText(const void* sid);

/// \return The bytes of the identifier that SidText() writes so.
std::vector<std::uint8_t> SidFromText(const std::wstring& text);

}  // namespace Lab
