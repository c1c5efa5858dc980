#include "krova/data/value.h"

#include "krova/data/deferred_release.h"

namespace Krova::Data {
namespace {

bool GetField(const NamedFields& fields, const char* unknownId, std::string_view name,
              ValuePointer& out, MessageList& errors) {
  const ValuePointer* field = fields.FindField(name);
  if (field == nullptr) {
    errors.push_back(MakeMessage(unknownId, name));
    return false;
  }
  out = *field;
  return true;
}

}  // namespace

DataType TypeOf(const DataValue* value) {
  DataType type = DataType::kUnknown;
  if (value != nullptr) value->GetType(type);
  return type;
}

bool IsLeaf(const DataValue& value) {
  switch (TypeOf(&value)) {
    case DataType::kError:
    case DataType::kOptional:
    case DataType::kList:
    case DataType::kStruct:
      return false;
    default:
      return true;
  }
}

OptionalValue::~OptionalValue() { DeferredRelease<DataValue>().Release(std::move(child_)); }

ListValue::~ListValue() {
  DeferredRelease<DataValue> release;
  for (ValuePointer& element : *this) release.Release(std::move(element));
}

NamedFields::~NamedFields() {
  FieldList fields = fields_.Detach();
  DeferredRelease<DataValue> release;
  for (Field& field : fields) release.Release(std::move(field.second));
}

void NamedFields::SetField(std::string_view name, ValuePointer value) {
  fields_[name] = std::move(value);
}

const ValuePointer* NamedFields::FindField(std::string_view name) const {
  const auto found = fields_.find(name);
  return found == fields_.end() ? nullptr : &found->second;
}

bool StructValue::GetField(std::string_view name, ValuePointer& out, MessageList& errors) const {
  return Data::GetField(*this, "krova.data.structure.getfield.unknown", name, out, errors);
}

ErrorValue::ErrorValue(std::string name, std::shared_ptr<const ListValue> messages)
    : ErrorValue(std::move(name)) {
  SetField("messages", std::move(messages));
}

bool ErrorValue::GetField(std::string_view name, ValuePointer& out, MessageList& errors) const {
  return Data::GetField(*this, "krova.data.error.getfield.unknown", name, out, errors);
}

}  // namespace Krova::Data
