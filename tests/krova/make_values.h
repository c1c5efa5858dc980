// Short names for making values and definitions in tests.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "krova/data/definition.h"
#include "krova/data/value.h"

namespace Krova::Testing {

inline Data::ValuePointer Null() { return std::make_shared<Data::VoidValue>(); }
inline Data::ValuePointer Integer(std::int64_t value) {
  return std::make_shared<Data::IntegerValue>(value);
}
inline Data::ValuePointer Double(double value) {
  return std::make_shared<Data::DoubleValue>(value);
}
inline Data::ValuePointer Boolean(bool value) {
  return std::make_shared<Data::BooleanValue>(value);
}
inline Data::ValuePointer Blob(std::vector<std::uint8_t> value) {
  return std::make_shared<Data::BlobValue>(std::move(value));
}
inline Data::ValuePointer String(std::string value) {
  return std::make_shared<Data::StringValue>(std::move(value));
}
inline Data::ValuePointer Secret(std::string value) {
  return std::make_shared<Data::SecretValue>(std::move(value));
}
inline Data::ValuePointer Unset() { return std::make_shared<Data::OptionalValue>(); }
inline Data::ValuePointer Set(Data::ValuePointer child) {
  return std::make_shared<Data::OptionalValue>(std::move(child));
}
inline Data::ValuePointer List(Data::ValueList elements = {}) {
  return std::make_shared<Data::ListValue>(std::move(elements));
}
inline Data::ValuePointer Struct(std::string name, Data::FieldList fields = {}) {
  return std::make_shared<Data::StructValue>(std::move(name), Data::FieldMap(std::move(fields)));
}
inline Data::ValuePointer Error(std::string name, Data::FieldList fields = {}) {
  return std::make_shared<Data::ErrorValue>(std::move(name), Data::FieldMap(std::move(fields)));
}

template <typename Kind, typename... Args>
Data::DefinitionPointer Define(Args&&... args) {
  return std::make_shared<Kind>(std::forward<Args>(args)...);
}
inline Data::DefinitionPointer DefineString() { return Define<Data::StringDefinition>(); }
inline Data::DefinitionPointer DefineInteger() { return Define<Data::IntegerDefinition>(); }
inline Data::DefinitionPointer DefineOptional(Data::DefinitionPointer element) {
  return Define<Data::OptionalDefinition>(std::move(element));
}
inline Data::DefinitionPointer DefineList(Data::DefinitionPointer element) {
  return Define<Data::ListDefinition>(std::move(element));
}
inline Data::DefinitionPointer DefineStruct(std::string name, Data::DefinitionMap fields) {
  return Define<Data::StructDefinition>(std::move(name), std::move(fields));
}
inline Data::DefinitionPointer DefineError(std::string name, Data::DefinitionMap fields) {
  return Define<Data::ErrorDefinition>(std::move(name), std::move(fields));
}

}  // namespace Krova::Testing
