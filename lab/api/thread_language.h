// The language in which a thread reads string resources.
#pragma once

#include <cstdint>

namespace Lab {

/// \return What SetThreadUILanguage chose on this thread; the user's language before that.
std::uint16_t ThreadLanguage();

}  // namespace Lab
