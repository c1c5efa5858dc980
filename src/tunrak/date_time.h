// Points in time as the library hands them out and reads them.
#pragma once

#include <chrono>
#include <string>
#include <string_view>

namespace Tunrak::System {

/// A point in UTC, to the millisecond.
using DateTime = std::chrono::sys_time<std::chrono::milliseconds>;

/// \return The current time.
DateTime GetUtcDateTime();

/// \return The time as "2026-02-03T04:05:06.789Z".
std::string FormatDateTime(DateTime time);

/// Reads what FormatDateTime writes; the fraction may be absent or have up to nine digits, of which
/// three count.
/// \throws Exception  for any other text.
DateTime ParseDateTime(std::string_view text);

}  // namespace Tunrak::System
