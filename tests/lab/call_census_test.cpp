#include "machine/call_census.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Lab {
namespace {

TEST(CallCensus, CallsOfAFunctionAreCountedByPlaceInTheOrderOfTheFirst) {
  CallCensus census;
  census.Count("Sleep", "1a 2b");
  census.Count("CloseHandle", "1a 2b");
  census.Count("Sleep", "1a 3c");
  census.Count("Sleep", "1a 2b");

  const std::vector<CallCensus::Entry> entries = census.Entries();
  ASSERT_EQ(entries.size(), 3u);
  EXPECT_EQ(entries[0].function, "Sleep");
  EXPECT_EQ(entries[0].site, "1a 2b");
  EXPECT_EQ(entries[0].calls, 2u);
  EXPECT_EQ(entries[1].function, "CloseHandle");
  EXPECT_EQ(entries[1].calls, 1u);
  EXPECT_EQ(entries[2].site, "1a 3c");
  EXPECT_EQ(entries[2].calls, 1u);
}

}  // namespace
}  // namespace Lab
