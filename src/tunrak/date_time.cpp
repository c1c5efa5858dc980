#include "tunrak/date_time.h"

#include <charconv>
#include <cstdio>

#include "tunrak/exception.h"

namespace Tunrak::System {
namespace {

/// Takes pieces of fixed form off the front of a text, and remembers whether all of them fitted.
class Pieces {
 public:
  explicit Pieces(std::string_view text) : rest_(text) {}

  void Skip(char expected) {
    if (!rest_.starts_with(expected)) {
      fits_ = false;
      return;
    }
    rest_.remove_prefix(1);
  }

  /// \return The number of exactly \p digits digits.
  unsigned Number(std::size_t digits) {
    unsigned value = 0;
    const std::string_view piece = rest_.substr(0, digits);
    const auto [end, error] = std::from_chars(piece.data(), piece.data() + piece.size(), value);
    fits_ = fits_ && error == std::errc() && piece.size() == digits &&
            end == piece.data() + piece.size();
    rest_.remove_prefix(piece.size());
    return value;
  }

  /// \return The fraction that may follow, in milliseconds.
  unsigned Fraction() {
    if (!rest_.starts_with('.')) return 0;
    rest_.remove_prefix(1);
    const std::string_view digits = rest_.substr(0, rest_.find_first_not_of("0123456789"));
    constexpr std::size_t kNanoseconds = 9;
    fits_ = fits_ && !digits.empty() && digits.size() <= kNanoseconds;
    rest_.remove_prefix(digits.size());
    unsigned value = 0;
    for (std::size_t i = 0; i < 3; ++i) {
      value = value * 10 + (i < digits.size() ? static_cast<unsigned>(digits[i] - '0') : 0);
    }
    return value;
  }

  bool Fits() const { return fits_ && rest_.empty(); }

 private:
  std::string_view rest_;
  bool fits_ = true;
};

}  // namespace

DateTime GetUtcDateTime() {
  return std::chrono::floor<std::chrono::milliseconds>(std::chrono::system_clock::now());
}

std::string FormatDateTime(DateTime time) {
  const auto day = std::chrono::floor<std::chrono::days>(time);
  const std::chrono::year_month_day date(day);
  const std::chrono::hh_mm_ss clock(time - day);
  char text[40] = {};
  (void)std::snprintf(
      text, sizeof text, "%04d-%02u-%02uT%02d:%02d:%02d.%03dZ", static_cast<int>(date.year()),
      static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
      static_cast<int>(clock.hours().count()), static_cast<int>(clock.minutes().count()),
      static_cast<int>(clock.seconds().count()), static_cast<int>(clock.subseconds().count()));
  return text;
}

DateTime ParseDateTime(std::string_view text) {
  Pieces pieces(text);
  const auto year = static_cast<int>(pieces.Number(4));
  pieces.Skip('-');
  const unsigned month = pieces.Number(2);
  pieces.Skip('-');
  const std::chrono::year_month_day date{std::chrono::year(year), std::chrono::month(month),
                                         std::chrono::day(pieces.Number(2))};
  pieces.Skip('T');
  const unsigned hours = pieces.Number(2);
  pieces.Skip(':');
  const unsigned minutes = pieces.Number(2);
  pieces.Skip(':');
  const unsigned seconds = pieces.Number(2);
  const unsigned milliseconds = pieces.Fraction();
  pieces.Skip('Z');
  if (!pieces.Fits() || !date.ok() || hours > 23 || minutes > 59 || seconds > 59) {
    throw Exception("Not a time in UTC: \"" + std::string(text) + "\".");
  }
  return std::chrono::sys_days(date) + std::chrono::hours(hours) + std::chrono::minutes(minutes) +
         std::chrono::seconds(seconds) + std::chrono::milliseconds(milliseconds);
}

}  // namespace Tunrak::System
