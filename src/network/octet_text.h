// Hardware addresses and the like as texts for replies.
#pragma once

#include <cstddef>
#include <string>

#include "host/windows_api.h"

namespace Halvard::Network {

/// \return "00:1A:2B" for the bytes 0, 26 and 43. Empty for none.
std::string OctetText(const BYTE* octets, std::size_t count);

}  // namespace Halvard::Network
