// Which fields of a union are set.
#pragma once

#include "krova/data/definition.h"
#include "krova/data/value.h"

namespace Krova::Data {

/// Tests the structure inside a union: its tag must name a case, and of the fields that appear in
/// any case exactly those of the tag's case must be set. A field that is an unset optional counts
/// as not set. Other fields are free.
/// \param errors  Gets one message of the first fault.
bool CheckUnionState(const UnionCaseDefinition& definition, const ValuePointer& value,
                     MessageList& errors);

}  // namespace Krova::Data
