#include "core/property_store.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace Halvard {
namespace {

using testing::ElementsAre;
using testing::Pair;

TEST(PropertyTable, ReadingAnAbsentPropertyYieldsEmptyAndLeavesAnEntry) {
  PropertyTable table;
  EXPECT_TRUE(table.Snapshot().empty());
  EXPECT_EQ(table[L"INFRA_NODE_HTTPS_PORT"].Value(), L"");
  EXPECT_THAT(table.Snapshot(), ElementsAre(Pair(L"INFRA_NODE_HTTPS_PORT", L"")));
}

TEST(PropertyTable, KeepsWhatIsAssigned) {
  PropertyTable table;
  table[L"HV_PORT"] = L"9123";
  EXPECT_TRUE(table[L"HV_PORT"] == L"9123");
  EXPECT_FALSE(table[L"HV_PORT"].empty());
  const std::wstring value = table[L"HV_PORT"];
  EXPECT_EQ(value, L"9123");
}

TEST(PropertyTable, AssigningOnePropertyToAnotherCopiesTheValue) {
  PropertyTable table;
  table[L"HV_LOCALE"] = L"de";
  table[L"MC_LOCALE"] = table[L"HV_LOCALE"];
  table[L"HV_LOCALE"] = L"fr";
  EXPECT_TRUE(table[L"MC_LOCALE"] == L"de");
}

TEST(PropertyTable, Appends) {
  PropertyTable table;
  table[L"HV_WARNING_MESSAGES"] += L"one";
  table[L"HV_WARNING_MESSAGES"] += L", two";
  EXPECT_TRUE(table[L"HV_WARNING_MESSAGES"] == L"one, two");
}

TEST(PropertyTable, IsOrderedByCodeUnits) {
  PropertyTable table;
  for (const wchar_t* name : {L"b", L"URExtractDirectory", L"UR_INPUT_JSON", L"B", L"\u00c4"}) {
    table[name] = L"x";
  }
  std::vector<std::wstring> names;
  for (const auto& [name, value] : table.Snapshot()) names.push_back(name);
  EXPECT_THAT(names, ElementsAre(L"B", L"URExtractDirectory", L"UR_INPUT_JSON", L"b", L"\u00c4"));
}

TEST(PropertyTable, ServesSeveralThreadsAtOnce) {
  constexpr int kAppends = 500;
  PropertyTable table;
  const auto work = [&table](const std::wstring& own) {
    for (int i = 0; i < kAppends; ++i) {
      table[L"SHARED"] += L"x";
      table[own + std::to_wstring(i)] = L"y";
    }
  };
  std::thread first(work, L"A");
  std::thread second(work, L"B");
  first.join();
  second.join();
  EXPECT_EQ(table[L"SHARED"].Value().size(), std::size_t{2 * kAppends});
  EXPECT_EQ(table.Snapshot().size(), std::size_t{2 * kAppends + 1});
}

}  // namespace
}  // namespace Halvard
