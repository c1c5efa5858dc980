// printf into a buffer of wide characters.
#pragma once

#include <cstddef>
#include <type_traits>

#include "core/wide_format.h"
#include "host/windows_api.h"

namespace Halvard {

/// Formats with the meaning that Windows' C runtime gives to conversions. A text that doesn't fit
/// is cut to the buffer. \return Its length; negative when it was cut or couldn't be made.
template <std::size_t kSize, typename... Arguments>
int FormatInto(wchar_t (&buffer)[kSize], std::type_identity_t<WideFormat<Arguments...>> format,
               Arguments... arguments) {
  return _snwprintf_s(buffer, kSize, _TRUNCATE, format.Text(), arguments...);
}

}  // namespace Halvard
