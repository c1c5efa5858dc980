// The printed form of data values.
#pragma once

#include <string>

namespace Krova::Data {

class DataValue;

/// What DataValue::ToString gives. \p value must be held by a shared pointer. An unset child prints
/// nothing.
std::string PrintValue(const DataValue& value);

}  // namespace Krova::Data
