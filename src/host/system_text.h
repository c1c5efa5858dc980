// The system's own words for its error codes.
#pragma once

#include <string>

#include "host/windows_api.h"

namespace Halvard::Host {

/// \return The system's text for an error code in one line, without blanks or line ends behind it;
///         empty when it has none. Changes the last error.
std::wstring SystemText(DWORD error);

}  // namespace Halvard::Host
