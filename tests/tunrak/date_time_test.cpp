#include "tunrak/date_time.h"

#include <gtest/gtest.h>

#include "tunrak/exception.h"

namespace Tunrak::System {
namespace {

TEST(DateTime, IsWrittenToTheMillisecond) {
  EXPECT_EQ(FormatDateTime(DateTime(std::chrono::milliseconds(1770091445678))),
            "2026-02-03T04:04:05.678Z");
  EXPECT_EQ(FormatDateTime(DateTime()), "1970-01-01T00:00:00.000Z");
  EXPECT_EQ(FormatDateTime(DateTime(std::chrono::milliseconds(-1))), "1969-12-31T23:59:59.999Z");
}

TEST(DateTime, IsReadAsWritten) {
  for (const char* text : {"2026-02-03T04:05:06.789Z", "2000-02-29T23:59:59.999Z",
                           "1969-12-31T00:00:00.001Z", "0001-01-01T00:00:00.000Z"}) {
    EXPECT_EQ(FormatDateTime(ParseDateTime(text)), text);
  }
}

TEST(DateTime, FractionMayBeShorterLongerOrAbsent) {
  EXPECT_EQ(FormatDateTime(ParseDateTime("2026-02-03T04:05:06Z")), "2026-02-03T04:05:06.000Z");
  EXPECT_EQ(FormatDateTime(ParseDateTime("2026-02-03T04:05:06.7Z")), "2026-02-03T04:05:06.700Z");
  EXPECT_EQ(FormatDateTime(ParseDateTime("2026-02-03T04:05:06.123456789Z")),
            "2026-02-03T04:05:06.123Z");
}

TEST(DateTime, AnythingElseIsRefused) {
  for (const char* text :
       {"", "Z", "2026-02-03", "2026-02-03T04:05:06", "2026-02-03T04:05:06+01:00",
        "2026-02-30T04:05:06Z", "2026-13-01T04:05:06Z", "2026-02-03T24:05:06Z",
        "2026-02-03T04:60:06Z", "2026-02-03T04:05:60Z", "2026-02-03T04:05:06.Z",
        "2026-02-03T04:05:06.1234567890Z", "2026-2-03T04:05:06Z", "-026-02-03T04:05:06Z",
        "2026-02-03 04:05:06Z", "2026-02-03T04:05:06ZZ", "2026-02-03T04:05:06.1x3Z"}) {
    EXPECT_THROW(ParseDateTime(text), Exception) << text;
  }
}

TEST(DateTime, NowIsTheSystemsTime) {
  const auto before = std::chrono::system_clock::now() - std::chrono::milliseconds(1);
  const DateTime now = GetUtcDateTime();
  EXPECT_GE(now, before);
  EXPECT_LE(now, std::chrono::system_clock::now());
}

}  // namespace
}  // namespace Tunrak::System
