// Tests values against definitions.
#pragma once

#include "krova/data/definition.h"
#include "krova/data/value.h"

namespace Krova::Data {

/// Fields that aren't defined are allowed.
struct LooseMatch {};
/// A compound that has more fields than its definition may have no others than the defined ones
/// and unset optionals.
struct StrictMatch {};
/// As LooseMatch; a walk of its own.
struct DynamicMatch {};

struct DataValidatorHelper {
  /// \param definition  May be null, which fits a null value only. The other way round a null
  ///     value, also one inside \p value, fits nothing else; then there is no message.
  /// \param errors  Gets one message of the first fault.
  /// \return Whether \p value fits. Doesn't recurse, and doesn't throw for a fault.
  template <typename Match>
  static bool Validate(const DefinitionPointer& definition, const ValuePointer& value,
                       MessageList& errors);
};

extern template bool DataValidatorHelper::Validate<LooseMatch>(const DefinitionPointer&,
                                                               const ValuePointer&, MessageList&);
extern template bool DataValidatorHelper::Validate<StrictMatch>(const DefinitionPointer&,
                                                                const ValuePointer&, MessageList&);
extern template bool DataValidatorHelper::Validate<DynamicMatch>(const DefinitionPointer&,
                                                                 const ValuePointer&, MessageList&);

}  // namespace Krova::Data
