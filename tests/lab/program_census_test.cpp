// What a program of the lab tells of itself at its end.
#include <gtest/gtest.h>

#include <filesystem>
#include <vector>

#include "machine/description.h"
#include "program_run.h"
#include "support/lab_instance.h"

namespace {

class ProgramCensus : public testing::Test {
 protected:
  /// Runs the program, which makes three calls of CreateEventW in a loop and one beside it, and
  /// closes only the last event. \return Its census; null without one.
  Json::Value Run() {
    Lab::ProgramRun run(machine_.Folder(), {"census"});
    EXPECT_EQ(run.Wait(), 0);
    Json::Value census;
    const std::filesystem::path folder = machine_.Folder() / "run";
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
      const std::filesystem::path& file = entry.path();
      if (file.filename().string().starts_with("census-")) census = Lab::ReadJson(file);
    }
    // The next run's is looked for in the same way.
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
      if (entry.path().extension() == ".json") std::filesystem::remove(entry.path());
    }
    return census;
  }

  void PlanFault(const Json::Value& site, const char* member, unsigned number) {
    Json::Value fault;
    fault["function"] = "CreateEventW";
    fault["error"] = 8;
    fault["site"] = site;
    fault[member] = number;
    Json::Value faults;
    faults.append(fault);
    machine_.Set("/faults", faults);
  }

  Lab::Instance machine_;
};

std::vector<Json::Value> CallsOf(const Json::Value& census, const char* function) {
  std::vector<Json::Value> calls;
  for (const Json::Value& call : census["calls"]) {
    if (call["function"] == function) calls.push_back(call);
  }
  return calls;
}

TEST_F(ProgramCensus, IsThereOnlyForWhoAsks) { EXPECT_TRUE(Run().isNull()); }

TEST_F(ProgramCensus, OfHandlesTellsWhatIsLeftOpen) {
  machine_.Set("/census", "handles");
  const Json::Value census = Run();
  ASSERT_EQ(census["handles"].size(), 3u) << census;
  EXPECT_EQ(census["handles"][0], "Event");
  EXPECT_EQ(census["objects"], 0);
  EXPECT_EQ(census["sockets"], 1);
  EXPECT_GE(census["threads"].asInt(), 1);
  EXPECT_EQ(census["failures"], 0);
  EXPECT_FALSE(census.isMember("calls"));
}

TEST_F(ProgramCensus, OfCallsTellsTheirPlacesToo) {
  machine_.Set("/census", "calls");
  const std::vector<Json::Value> calls = CallsOf(Run(), "CreateEventW");
  ASSERT_EQ(calls.size(), 2u);
  EXPECT_EQ(calls[0]["calls"], 3);
  EXPECT_EQ(calls[1]["calls"], 1);
  EXPECT_NE(calls[0]["site"], calls[1]["site"]);
}

TEST_F(ProgramCensus, PlacesAreTheSameInEachRun) {
  machine_.Set("/census", "calls");
  const Json::Value site = CallsOf(Run(), "CreateEventW").at(1)["site"];
  EXPECT_EQ(CallsOf(Run(), "CreateEventW").at(1)["site"], site);
}

TEST_F(ProgramCensus, ACallOfAPlaceFailsByPlan) {
  machine_.Set("/census", "calls");
  const Json::Value site = CallsOf(Run(), "CreateEventW").at(0)["site"];
  machine_.Set("/census", "handles");
  PlanFault(site, "call", 2);
  const Json::Value census = Run();
  EXPECT_EQ(census["failures"], 1);
  EXPECT_EQ(census["handles"].size(), 2u);
}

TEST_F(ProgramCensus, FromACallOfAPlaceOnAllCallsFailByPlan) {
  machine_.Set("/census", "calls");
  const Json::Value site = CallsOf(Run(), "CreateEventW").at(0)["site"];
  machine_.Set("/census", "handles");
  PlanFault(site, "from", 3);
  const Json::Value census = Run();
  EXPECT_EQ(census["failures"], 2);
  EXPECT_EQ(census["handles"].size(), 2u);
}

}  // namespace
