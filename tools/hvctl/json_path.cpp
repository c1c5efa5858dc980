#include "json_path.h"

namespace Hvctl {

const Json::Value* Find(const Json::Value& value, std::initializer_list<const char*> names) {
  const Json::Value* at = &value;
  for (const char* name : names) {
    if (!at->isObject() || !at->isMember(name)) return nullptr;
    at = &(*at)[name];
  }
  return at;
}

std::string TextOf(const Json::Value* value) {
  return value != nullptr && value->isString() ? value->asString() : std::string();
}

}  // namespace Hvctl
