#include "machine/faults.h"

#include <gtest/gtest.h>

namespace Lab {
namespace {

TEST(FaultPlan, ThirdCallFailsAndNoOther) {
  FaultPlan plan({{.function = "RegGetValueW", .call = 3, .error = 5}});
  EXPECT_EQ(plan.CountCall("RegGetValueW", {}), std::nullopt);
  EXPECT_EQ(plan.CountCall("RegGetValueW", {}), std::nullopt);
  EXPECT_EQ(plan.CountCall("RegGetValueW", {}), 5u);
  EXPECT_EQ(plan.CountCall("RegGetValueW", {}), std::nullopt);
}

TEST(FaultPlan, FromTheSecondCallOnAllFail) {
  FaultPlan plan({{.function = "Sleep", .from = 2, .error = 6}});
  EXPECT_EQ(plan.CountCall("Sleep", {}), std::nullopt);
  EXPECT_EQ(plan.CountCall("Sleep", {}), 6u);
  EXPECT_EQ(plan.CountCall("Sleep", {}), 6u);
}

TEST(FaultPlan, OtherFunctionsGoTheirWay) {
  FaultPlan plan({{.function = "RegGetValueW", .error = 5}});
  EXPECT_EQ(plan.CountCall("RegGetValue", {}), std::nullopt);
  EXPECT_EQ(plan.CountCall("RegGetValueW", {}), 5u);
}

TEST(FaultPlan, MatchCountsOnlyCallsOnItsSubject) {
  FaultPlan plan({{.function = "DeleteFileW", .call = 2, .match = L"status", .error = 32}});
  EXPECT_EQ(plan.CountCall("DeleteFileW", L"C:\\hv-status.json"), std::nullopt);
  EXPECT_EQ(plan.CountCall("DeleteFileW", L"C:\\other"), std::nullopt);
  EXPECT_EQ(plan.CountCall("DeleteFileW", L"C:\\hv-status.json"), 32u);
}

TEST(FaultPlan, FirstOfTwoDecides) {
  FaultPlan plan({{.function = "Sleep", .call = 1, .error = 1}, {.function = "Sleep", .error = 2}});
  EXPECT_EQ(plan.CountCall("Sleep", {}), 1u);
  EXPECT_EQ(plan.CountCall("Sleep", {}), 2u);
}

TEST(FaultPlan, SiteCountsOnlyCallsFromThere) {
  FaultPlan plan({{.function = "Sleep", .call = 2, .site = "1a 2b", .error = 6}});
  EXPECT_TRUE(plan.AsksForSite("Sleep"));
  EXPECT_FALSE(plan.AsksForSite("DeleteFileW"));
  EXPECT_EQ(plan.CountCall("Sleep", {}, "1a 2b"), std::nullopt);
  EXPECT_EQ(plan.CountCall("Sleep", {}, "1a 2c"), std::nullopt);
  EXPECT_EQ(plan.CountCall("Sleep", {}, "1a 2b"), 6u);
  EXPECT_EQ(plan.CountCall("Sleep", {}, "1a 2b"), std::nullopt);
}

TEST(FaultPlan, FromACallOfASiteOnAllCallsFailFromWhereverTheyCome) {
  FaultPlan plan({{.function = "Sleep", .from = 2, .site = "1a", .error = 6}});
  EXPECT_EQ(plan.CountCall("Sleep", {}, "1a"), std::nullopt);
  EXPECT_EQ(plan.CountCall("Sleep", {}, "2b"), std::nullopt);
  EXPECT_EQ(plan.CountCall("Sleep", {}, "1a"), 6u);
  EXPECT_EQ(plan.CountCall("Sleep", {}, "2b"), 6u);
}

TEST(FaultPlan, FailuresAreCounted) {
  FaultPlan plan({{.function = "Sleep", .call = 2, .error = 6}});
  plan.CountCall("Sleep", {});
  EXPECT_EQ(plan.Failures(), 0u);
  plan.CountCall("Sleep", {});
  plan.CountCall("Sleep", {});
  EXPECT_EQ(plan.Failures(), 1u);
}

TEST(FaultPlan, CallsAreCountedWithoutFaultsAsWell) {
  FaultPlan plan({});
  EXPECT_EQ(plan.Calls("Sleep"), 0u);
  plan.CountCall("Sleep", {});
  plan.CountCall("Sleep", {});
  EXPECT_EQ(plan.Calls("Sleep"), 2u);
}

}  // namespace
}  // namespace Lab
