// A point in time as the API writes it.
#pragma once

#include <ctime>
#include <string>
#include <string_view>

#include <boost/date_time/posix_time/ptime.hpp>

namespace Krova::Data {

/// Holds a text of the form "YYYY-MM-DDTHH:MM:SS.mmmZ", 24 characters, that names a point in time
/// in the years 1 to 9999. Knows no leap seconds.
class DateTime {
 public:
  DateTime() : text_("1970-01-01T00:00:00.000Z") {}

  const std::string& GetText() const { return text_; }

  static bool IsValid(std::string_view text);

  // The following leave \p out alone and return false for what can't be written so.

  static bool FromText(std::string_view text, DateTime& out);
  /// \param time  In UTC; cut to milliseconds. Special values such as not-a-date-time fail.
  static bool FromPtime(const boost::posix_time::ptime& time, DateTime& out);
  /// \param time  In UTC. Not normalised: a field beyond its range fails.
  static bool FromCalendarTime(const std::tm& time, int milliseconds, DateTime& out);

  bool operator==(const DateTime&) const = default;

 private:
  std::string text_;
};

}  // namespace Krova::Data
