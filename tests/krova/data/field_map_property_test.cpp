#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

// rapidcheck leaves including gtest to its user.
#include <gtest/gtest.h>

#include <rapidcheck/gtest.h>

#include "krova/data/field_map.h"
#include "krova/data/value.h"

namespace Krova::Data {
namespace {

ValuePointer Integer(std::int64_t value) { return std::make_shared<IntegerValue>(value); }

std::vector<std::pair<std::string, std::int64_t>> Contents(const FieldMap& map) {
  std::vector<std::pair<std::string, std::int64_t>> contents;
  for (const auto& [name, value] : map) {
    contents.emplace_back(name, ValueCast<IntegerValue>(value.get())->GetValue());
  }
  return contents;
}

RC_GTEST_PROP(FieldMap, BehavesAsAnOrderedMapOfStrings,
              (const std::vector<std::pair<std::string, int>>& fields)) {
  std::map<std::string, std::int64_t> expected;
  FieldMap oneByOne;
  FieldList list;
  for (const auto& [name, number] : fields) {
    expected[name] = number;
    oneByOne[name] = Integer(number);
    list.emplace_back(name, Integer(number));
  }
  const FieldMap atOnce(std::move(list));
  const std::vector<std::pair<std::string, std::int64_t>> contents(expected.begin(),
                                                                   expected.end());
  RC_ASSERT(Contents(oneByOne) == contents);
  RC_ASSERT(Contents(atOnce) == contents);
  for (const auto& [name, number] : expected) {
    RC_ASSERT(atOnce.find(name) != atOnce.end());
    RC_ASSERT((atOnce.find(name + "x") == atOnce.end()) == !expected.contains(name + "x"));
  }
}

}  // namespace
}  // namespace Krova::Data
