#include "krova/data/date_time.h"

#include <gtest/gtest.h>

#include <locale>
#include <string>

#include <boost/date_time/posix_time/posix_time_types.hpp>

namespace Krova::Data {
namespace {

struct TextCase {
  const char* name;
  const char* text;
  bool valid;
};
constexpr TextCase kTexts[] = {
    {"LeapDay", "2016-02-29T12:00:00.000Z", true},
    {"NoLeapDay", "2015-02-29T12:00:00.000Z", false},
    {"LeapDayOfACentury", "1900-02-29T00:00:00.000Z", false},
    {"LeapDayOf400Years", "2000-02-29T00:00:00.000Z", true},
    {"Hour24", "2016-01-01T24:00:00.000Z", false},
    {"Hour23", "2016-01-01T23:59:59.999Z", true},
    {"Minute60", "2016-01-01T00:60:00.000Z", false},
    {"Second60", "2016-12-31T23:59:60.000Z", false},
    {"NoZ", "2016-01-01T00:00:00.000", false},
    {"OtherEnd", "2016-01-01T00:00:00.000z", false},
    {"FourMilliseconds", "2016-01-01T00:00:00.0000Z", false},
    {"Year0", "0000-01-01T00:00:00.000Z", false},
    {"Year1", "0001-01-01T00:00:00.000Z", true},
    {"Year9999", "9999-12-31T23:59:59.999Z", true},
    {"Month0", "2016-00-01T00:00:00.000Z", false},
    {"Month12", "2016-12-01T00:00:00.000Z", true},
    {"Month13", "2016-13-01T00:00:00.000Z", false},
    {"Day0", "2016-01-00T00:00:00.000Z", false},
    {"Day31", "2016-01-31T00:00:00.000Z", true},
    {"Day32", "2016-01-32T00:00:00.000Z", false},
    {"April30", "2016-04-30T00:00:00.000Z", true},
    {"April31", "2016-04-31T00:00:00.000Z", false},
    {"NoT", "2016-01-01 00:00:00.000Z", false},
    {"DateSlash", "2016/01-01T00:00:00.000Z", false},
    {"TimeDash", "2016-01-01T00-00:00.000Z", false},
    {"CommaBeforeMilliseconds", "2016-01-01T00:00:00,000Z", false},
    {"LetterInYear", "201a-01-01T00:00:00.000Z", false},
    {"SignInDay", "2016-01-+1T00:00:00.000Z", false},
    {"BlankInTime", "2016-01-01T 0:00:00.000Z", false},
    {"Empty", "", false},
};
class DateTimeText : public ::testing::TestWithParam<TextCase> {};

TEST_P(DateTimeText, IsTakenIfItNamesAPointInTime) {
  DateTime time;
  EXPECT_EQ(DateTime::IsValid(GetParam().text), GetParam().valid);
  EXPECT_EQ(DateTime::FromText(GetParam().text, time), GetParam().valid);
  EXPECT_EQ(time.GetText(), GetParam().valid ? GetParam().text : "1970-01-01T00:00:00.000Z");
}

INSTANTIATE_TEST_SUITE_P(Limits, DateTimeText, ::testing::ValuesIn(kTexts),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(DateTime, DefaultIsTheEpoch) { EXPECT_EQ(DateTime().GetText(), "1970-01-01T00:00:00.000Z"); }

TEST(DateTime, FromPtimePrintsMilliseconds) {
  using boost::gregorian::date;
  namespace pt = boost::posix_time;
  DateTime time;
  EXPECT_TRUE(DateTime::FromPtime(
      pt::ptime(date(2024, 2, 29), pt::hours(7) + pt::minutes(8) + pt::microseconds(9012345)),
      time));
  EXPECT_EQ(time.GetText(), "2024-02-29T07:08:09.012Z");
  EXPECT_TRUE(DateTime::FromPtime(pt::ptime(pt::max_date_time), time));
  EXPECT_EQ(time.GetText(), "9999-12-31T23:59:59.999Z");
}

/// Groups digits by three.
struct Grouping : std::numpunct<char> {
  std::string do_grouping() const override { return "\3"; }
};

TEST(DateTime, LooksTheSameInEveryLocaleOfTheProcess) {
  const std::locale before =
      std::locale::global(std::locale(std::locale::classic(), new Grouping()));
  DateTime time;
  EXPECT_TRUE(
      DateTime::FromPtime(boost::posix_time::ptime(boost::gregorian::date(2024, 2, 29)), time));
  std::locale::global(before);
  EXPECT_EQ(time.GetText(), "2024-02-29T00:00:00.000Z");
}

TEST(DateTime, FromPtimeRefusesSpecialValues) {
  namespace pt = boost::posix_time;
  DateTime time;
  EXPECT_FALSE(DateTime::FromPtime(pt::ptime(pt::not_a_date_time), time));
  EXPECT_FALSE(DateTime::FromPtime(pt::ptime(pt::pos_infin), time));
  EXPECT_FALSE(DateTime::FromPtime(pt::ptime(pt::neg_infin), time));
  EXPECT_EQ(time, DateTime());
}

std::tm CalendarTime(int year, int month, int day, int hour, int minute, int second) {
  std::tm time{};
  time.tm_year = year - 1900;
  time.tm_mon = month - 1;
  time.tm_mday = day;
  time.tm_hour = hour;
  time.tm_min = minute;
  time.tm_sec = second;
  return time;
}

TEST(DateTime, FromCalendarTimePrintsTheSameForm) {
  DateTime time;
  EXPECT_TRUE(DateTime::FromCalendarTime(CalendarTime(2024, 12, 3, 4, 5, 6), 7, time));
  EXPECT_EQ(time.GetText(), "2024-12-03T04:05:06.007Z");
}

TEST(DateTime, FromCalendarTimeRefusesWhatNamesNoPointInTime) {
  DateTime time;
  EXPECT_FALSE(DateTime::FromCalendarTime(CalendarTime(2023, 2, 29, 0, 0, 0), 0, time));
  EXPECT_FALSE(DateTime::FromCalendarTime(CalendarTime(2024, 1, 1, 0, 0, 60), 0, time));
  EXPECT_FALSE(DateTime::FromCalendarTime(CalendarTime(2024, 1, 1, -1, 0, 0), 0, time));
  EXPECT_FALSE(DateTime::FromCalendarTime(CalendarTime(2024, 1, 1, 0, 0, 0), 1000, time));
  EXPECT_FALSE(DateTime::FromCalendarTime(CalendarTime(-5, 1, 1, 0, 0, 0), 0, time));
  EXPECT_FALSE(DateTime::FromCalendarTime(CalendarTime(10000, 1, 1, 0, 0, 0), 0, time));
  EXPECT_EQ(time, DateTime());
}

}  // namespace
}  // namespace Krova::Data
