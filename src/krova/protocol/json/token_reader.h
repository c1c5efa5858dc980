// Splits JSON text into tokens.
#pragma once

#include "krova/protocol/json/frame_stack.h"
#include "krova/protocol/json/text_copy.h"

namespace Krova::Protocol::Json {

/// Reads the first JSON value in \p text and hands its tokens to \p frames; what follows it isn't
/// looked at. Works in place: \p text is destroyed, and the strings that the frames receive lie in
/// it. Bytes of strings aren't checked to be UTF-8. Takes the same stack for any nesting.
/// \return False if the text is no JSON. Tokens may have been handed out before that was seen.
bool ReadTokens(TextCopy& text, FrameStack& frames);

}  // namespace Krova::Protocol::Json
