// What the tests of the runner's output start from.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <json/reader.h>

#include <stdexcept>
#include <string>

#include "core/property_store.h"

namespace Halvard::Runner {

inline Json::Value Parse(const std::string& text) {
  Json::Value value;
  if (!Json::Reader().parse(text, value)) throw std::invalid_argument("no JSON: " + text);
  return value;
}

inline std::wstring PropertyValue(const wchar_t* name) { return gProperties[name]; }

/// An output with one component, whose requirements are given as JSON.
inline Json::Value OneComponent(const std::string& name, const std::string& requirements) {
  return Parse("[{\"name\": \"" + name + "\", \"requirements\": " + requirements + "}]");
}

}  // namespace Halvard::Runner
