#include <cstdint>
#include <vector>

// rapidcheck leaves including gtest to its user.
#include <gtest/gtest.h>

#include <rapidcheck/gtest.h>

#include "krova/data/comparators.h"
#include "krova/data/validator.h"
#include "krova/fitting_rules.h"
#include "krova/tree_from_bytes.h"

namespace Krova::Data {
namespace {

using Testing::FittingRules;
using Testing::TreeFromBytes;
using Bytes = std::vector<std::uint8_t>;

ValuePointer ValueOf(const Bytes& bytes) {
  return TreeFromBytes(bytes.data(), bytes.size()).MakeValue();
}

std::string TextOf(const ValuePointer& value) { return value == nullptr ? "" : value->ToString(); }

RC_GTEST_PROP(ValueProperties, TwoEqualTreesHaveTheSameText, ()) {
  // Short ones, since long ones are hardly ever equal.
  const auto few = rc::gen::container<Bytes>(3, rc::gen::inRange<std::uint8_t>(0, 12));
  const ValuePointer first = ValueOf(*few);
  const ValuePointer second = ValueOf(*few);
  MessageList errors;
  const bool equal = ValueComparatorHelper::Compare(first, second, errors);
  RC_CLASSIFY(equal);
  RC_ASSERT(errors.size() == (equal ? 0U : 1U));
  if (equal) RC_ASSERT(TextOf(first) == TextOf(second));
}

RC_GTEST_PROP(ValueProperties, ATreeEqualsItsTwin, (const Bytes& bytes)) {
  MessageList errors;
  const ValuePointer first = ValueOf(bytes);
  const ValuePointer second = ValueOf(bytes);
  RC_ASSERT(ValueComparatorHelper::Compare(first, second, errors));
  RC_ASSERT(TextOf(first) == TextOf(second));
  RC_ASSERT(errors.empty());
}

RC_GTEST_PROP(ValueProperties, ComparingDoesntDependOnTheSide, (const Bytes& a, const Bytes& b)) {
  const ValuePointer first = ValueOf(a);
  const ValuePointer second = ValueOf(b);
  MessageList errors;
  RC_ASSERT(ValueComparatorHelper::Compare(first, second, errors) ==
            ValueComparatorHelper::Compare(second, first, errors));
}

template <typename Match>
bool Validates(const DefinitionPointer& definition, const ValuePointer& value, bool strict) {
  MessageList errors;
  const bool fits = DataValidatorHelper::Validate<Match>(definition, value, errors);
  RC_ASSERT(fits == FittingRules(strict).Fits(definition, value));
  RC_ASSERT(errors.size() <= (fits ? 0U : 1U));
  return fits;
}

RC_GTEST_PROP(ValidatorProperties, PassesWhatKeepsTheRulesAndNothingElse, ()) {
  // Arbitrary bytes begin small, which rarely gets a tree past its first levels.
  const auto anyByte = rc::gen::map(rc::gen::inRange(0, 256),
                                    [](int byte) { return static_cast<std::uint8_t>(byte); });
  const Bytes bytes = *rc::gen::container<Bytes>(2000, anyByte);
  TreeFromBytes tree(bytes.data(), bytes.size());
  for (int pair = 0; pair < 30; ++pair) {
    const DefinitionPointer definition = tree.MakeDefinition();
    const ValuePointer value = tree.MakeValueFor(definition);
    const bool loose = Validates<LooseMatch>(definition, value, false);
    const bool dynamic = Validates<DynamicMatch>(definition, value, false);
    const bool strict = Validates<StrictMatch>(definition, value, true);
    RC_ASSERT(loose == dynamic);
    RC_ASSERT(loose || !strict);
  }
}

RC_GTEST_PROP(DefinitionProperties, ADefinitionEqualsItsTwin, (const Bytes& bytes)) {
  const auto make = [&bytes] { return TreeFromBytes(bytes.data(), bytes.size()).MakeDefinition(); };
  MessageList errors;
  const DefinitionPointer first = make();
  const DefinitionPointer second = make();
  RC_ASSERT(DefinitionComparatorHelper::Compare(first, second, errors));
  RC_ASSERT(first->ToString() == second->ToString());
}

}  // namespace
}  // namespace Krova::Data
