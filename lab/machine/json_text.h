// Texts of a machine's description, which is JSON.
#pragma once

#include <json/value.h>

#include <string>

#include "machine/text.h"

namespace Lab {

/// \return The text of a value that the schema has checked.
inline std::wstring WideText(const Json::Value& value) { return ToWide(value.asString()); }

}  // namespace Lab
