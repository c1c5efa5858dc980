// Security identifiers in their binary form.
#pragma once

#include <cstddef>
#include <string>

#include "winnt.h"

namespace Lab {

/// \return The bytes that an identifier with so many sub-authorities takes.
std::size_t SidBytes(std::uint8_t subAuthorities);

/// \return False for what no function would accept as an identifier.
bool IsValidSid(const SID& sid);

/// \return The identifier as people write it: S-1-5-32-544. It may lie at any address.
std::wstring SidText(const void* sid);

}  // namespace Lab
