// Hardware addresses, digests and the like as text for people.
#pragma once

#include <cstddef>
#include <string>

namespace Halvard {

/// \return "00:1A:2B" for the bytes 0, 26 and 43. Empty for none.
std::string OctetText(const unsigned char* octets, std::size_t count);

}  // namespace Halvard
