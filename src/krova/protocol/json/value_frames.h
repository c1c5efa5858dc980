// Reads data values.
#pragma once

#include "krova/protocol/json/frame_stack.h"

namespace Krova::Protocol::Json {

/// A frame that reads one value of whatever kind, leaves it on the stack's builder and ends. `{}`
/// leaves a null pointer.
extern const FrameFunctions kValueFrame;

}  // namespace Krova::Protocol::Json
