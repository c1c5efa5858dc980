#include "krova/data/field_map.h"

#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "krova/data/value.h"
#include "krova/make_values.h"

namespace Krova::Data {
namespace {

using ::testing::ElementsAre;
using Testing::Integer;
using ::testing::Pair;

std::vector<std::pair<std::string, std::int64_t>> Contents(const FieldMap& map) {
  std::vector<std::pair<std::string, std::int64_t>> contents;
  for (const auto& [name, value] : map) {
    contents.emplace_back(name, ValueCast<IntegerValue>(value.get())->GetValue());
  }
  return contents;
}

TEST(FieldMap, OrdersAListAndKeepsTheLastOfEqualNames) {
  const FieldMap map({{"b", Integer(1)},
                      {"a", Integer(2)},
                      {"b", Integer(3)},
                      {"c", Integer(4)},
                      {"a", Integer(5)},
                      {"b", Integer(6)}});
  EXPECT_THAT(Contents(map), ElementsAre(Pair("a", 5), Pair("b", 6), Pair("c", 4)));
  EXPECT_EQ(map.size(), 3U);
}

TEST(FieldMap, KeepsTheLastOfEqualNamesInAnOrderedListToo) {
  const FieldMap map({{"a", Integer(1)}, {"a", Integer(2)}, {"b", Integer(3)}, {"b", Integer(4)}});
  EXPECT_THAT(Contents(map), ElementsAre(Pair("a", 2), Pair("b", 4)));
}

TEST(FieldMap, OfNothingIsEmpty) {
  const FieldMap map{FieldList()};
  EXPECT_TRUE(map.empty());
  EXPECT_EQ(map.find(""), map.end());
}

TEST(FieldMap, DetachLeavesItEmpty) {
  FieldMap map({{"a", Integer(1)}});
  EXPECT_EQ(map.Detach().size(), 1U);
  EXPECT_TRUE(map.empty());
}

}  // namespace
}  // namespace Krova::Data
