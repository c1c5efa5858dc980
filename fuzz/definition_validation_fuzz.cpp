// Any definition and any value: validation says what the rules say, with one message at most, and
// printing and comparing come back.
#include <cstddef>
#include <cstdint>

#include "krova/data/comparators.h"
#include "krova/data/validator.h"
#include "krova/fitting_rules.h"
#include "krova/tree_from_bytes.h"
#include "require.h"

using namespace Krova;
using namespace Krova::Data;

namespace {

template <typename Match>
void ValidateByTheRules(const DefinitionPointer& definition, const ValuePointer& value,
                        bool strict) {
  MessageList errors;
  const bool fits = DataValidatorHelper::Validate<Match>(definition, value, errors);
  Require(fits == Testing::FittingRules(strict).Fits(definition, value));
  Require(errors.size() <= (fits ? 0U : 1U));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Testing::TreeFromBytes tree(data, size);
  const DefinitionPointer definition = tree.MakeDefinition();
  const ValuePointer fitting = tree.MakeValueFor(definition);
  for (const ValuePointer& value : {fitting, tree.MakeValue()}) {
    ValidateByTheRules<LooseMatch>(definition, value, false);
    ValidateByTheRules<DynamicMatch>(definition, value, false);
    ValidateByTheRules<StrictMatch>(definition, value, true);
    MessageList errors;
    Require(ValueComparatorHelper::Compare(value, value, errors));
    if (value != nullptr) (void)value->ToString();
  }
  (void)definition->ToString();
  MessageList errors;
  Require(DefinitionComparatorHelper::Compare(definition, definition, errors));
  return 0;
}
