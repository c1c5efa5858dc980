// Reading documents of which nobody promises a form.
#pragma once

#include <initializer_list>
#include <string>

#include <json/value.h>

namespace Hvctl {

/// Follows member names through objects.
/// \return Null where the way ends early.
const Json::Value* Find(const Json::Value& value, std::initializer_list<const char*> names);

/// \return A string's text; empty for null and for any other type.
std::string TextOf(const Json::Value* value);

}  // namespace Hvctl
