#include "krova/data/date_time.h"

#include <cstddef>
#include <locale>

#include <boost/date_time/gregorian/gregorian_types.hpp>
#include <boost/date_time/posix_time/posix_time_types.hpp>
#include <boost/format.hpp>

namespace Krova::Data {
namespace {

// 'd' stands for a digit; everything else for itself.
constexpr std::string_view kDatePattern = "dddd-dd-dd";
constexpr std::string_view kTimePattern = "dd:dd:dd.ddd";
constexpr std::size_t kTextSize = 24;
constexpr std::size_t kTimePlace = 11;

bool MatchesPattern(std::string_view text, std::string_view pattern) {
  for (std::size_t place = 0; place < pattern.size(); ++place) {
    const char found = text[place];
    const bool fits =
        pattern[place] == 'd' ? found >= '0' && found <= '9' : found == pattern[place];
    if (!fits) return false;
  }
  return true;
}

int Number(std::string_view digits) {
  int number = 0;
  for (const char digit : digits) number = number * 10 + (digit - '0');
  return number;
}

int LengthOfMonth(int year, int month) {
  constexpr int kLengths[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
  return month == 2 && leap ? 29 : kLengths[month - 1];
}

bool IsDate(std::string_view text) {
  if (!MatchesPattern(text, kDatePattern)) return false;
  const int year = Number(text.substr(0, 4));
  const int month = Number(text.substr(5, 2));
  const int day = Number(text.substr(8, 2));
  return year >= 1 && month >= 1 && month <= 12 && day >= 1 && day <= LengthOfMonth(year, month);
}

bool IsTimeOfDay(std::string_view text) {
  return MatchesPattern(text, kTimePattern) && Number(text.substr(0, 2)) < 24 &&
         Number(text.substr(3, 2)) < 60 && Number(text.substr(6, 2)) < 60;
}

std::string Print(long long year, long long month, long long day, long long hour, long long minute,
                  long long second, long long milliseconds) {
  // The locale of the process may group the digits of the year.
  boost::format text("%04d-%02d-%02dT%02d:%02d:%02d.%03dZ", std::locale::classic());
  return (text % year % month % day % hour % minute % second % milliseconds).str();
}

}  // namespace

bool DateTime::IsValid(std::string_view text) {
  return text.size() == kTextSize && IsDate(text.substr(0, kDatePattern.size())) &&
         text[kTimePlace - 1] == 'T' && IsTimeOfDay(text.substr(kTimePlace, kTimePattern.size())) &&
         text.back() == 'Z';
}

bool DateTime::FromText(std::string_view text, DateTime& out) {
  if (!IsValid(text)) return false;
  out.text_ = text;
  return true;
}

bool DateTime::FromPtime(const boost::posix_time::ptime& time, DateTime& out) {
  if (time.is_special()) return false;
  const auto date = time.date().year_month_day();
  const auto ofDay = time.time_of_day();
  return FromText(Print(date.year, date.month.as_number(), date.day.as_number(), ofDay.hours(),
                        ofDay.minutes(), ofDay.seconds(), ofDay.total_milliseconds() % 1000),
                  out);
}

bool DateTime::FromCalendarTime(const std::tm& time, int milliseconds, DateTime& out) {
  return FromText(Print(time.tm_year + 1900LL, time.tm_mon + 1LL, time.tm_mday, time.tm_hour,
                        time.tm_min, time.tm_sec, milliseconds),
                  out);
}

}  // namespace Krova::Data
