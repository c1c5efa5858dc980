// The characters that XML 1.0 has.
#pragma once

#include <cstdint>
#include <string_view>

namespace Zelmo {

/// \return True for a code point that may stand in a document.
bool IsXmlCharacter(std::uint32_t codePoint);

/// \return True if the text is UTF-8 of such characters alone.
bool IsXmlText(std::string_view text);

}  // namespace Zelmo
