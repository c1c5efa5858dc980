#include "krova/protocol/json/value_to_json_adapter.h"

#include <string_view>

#include "krova/protocol/json/base64.h"

namespace Krova::Protocol::Json {
namespace {

using Data::DataType;
using Data::DataValue;

/// Room for the levels that answers have without growing.
constexpr std::size_t kStackBytes = 512;

/// Only for a value whose kind was asked for.
template <typename Kind>
const Kind& As(const DataValue& value) {
  return static_cast<const Kind&>(value);
}

void WriteWrapped(JsonWriter& writer, DataType type, std::string_view text) {
  writer.StartObject();
  writer.Key(Data::WireWord(type));
  writer.String(text);
  writer.EndObject();
}

void WriteSecret(Secure, JsonWriter& writer, const Data::SecretValue& secret) {
  WriteWrapped(writer, DataType::kSecret, secret.GetValue());
}

void OpenFields(JsonWriter& writer, DataType type, const Data::NamedFields& fields) {
  writer.StartObject();
  writer.Key(Data::WireWord(type));
  writer.StartObject();
  writer.Key(fields.GetName());
  writer.StartObject();
}

}  // namespace

template <typename Policy>
ValueToJsonAdapter<Policy>::ValueToJsonAdapter(JsonWriter& writer) : writer_(writer) {
  entries_.reserve(kStackBytes / sizeof(BasicAdaptEntry));
}

template <typename Policy>
void ValueToJsonAdapter<Policy>::Write(const Data::ValuePointer& root) {
  WriteValue(root.get());
  while (!entries_.empty()) {
    if (!WriteNextChild()) entries_.pop_back();
  }
}

/// Writes a value without children, and the opening of one that has some.
template <typename Policy>
void ValueToJsonAdapter<Policy>::WriteValue(const DataValue* value) {
  switch (Data::TypeOf(value)) {
    case DataType::kVoid:
      return writer_.Null();
    case DataType::kInteger:
      return writer_.Integer(As<Data::IntegerValue>(*value).GetValue());
    case DataType::kDouble:
      return writer_.Double(As<Data::DoubleValue>(*value).GetValue());
    case DataType::kBoolean:
      return writer_.Bool(As<Data::BooleanValue>(*value).GetValue());
    case DataType::kString:
      return writer_.String(As<Data::StringValue>(*value).GetValue());
    case DataType::kBlob:
      return WriteWrapped(writer_, DataType::kBlob,
                          EncodeBase64(As<Data::BlobValue>(*value).GetValue()));
    case DataType::kSecret:
      return WriteSecret(Policy(), writer_, As<Data::SecretValue>(*value));
    case DataType::kList:
    case DataType::kOptional:
    case DataType::kStruct:
    case DataType::kError:
      return Open(*value);
    default:
      writer_.StartObject();
      writer_.EndObject();
  }
}

template <typename Policy>
void ValueToJsonAdapter<Policy>::Open(const DataValue& value) {
  entries_.push_back({&value});
  const DataType type = Data::TypeOf(&value);
  switch (type) {
    case DataType::kList:
      return writer_.StartArray();
    case DataType::kStruct:
      return OpenFields(writer_, type, As<Data::StructValue>(value));
    case DataType::kError:
      return OpenFields(writer_, type, As<Data::ErrorValue>(value));
    default:
      writer_.StartObject();
      writer_.Key(Data::WireWord(DataType::kOptional));
  }
}

/// \return False if the compound on top had no more children; it is closed then.
template <typename Policy>
bool ValueToJsonAdapter<Policy>::WriteNextChild() {
  const DataValue& value = *entries_.back().value;
  switch (Data::TypeOf(&value)) {
    case DataType::kList:
      return WriteNextElement(As<Data::ListValue>(value));
    case DataType::kStruct:
      return WriteNextField(As<Data::StructValue>(value));
    case DataType::kError:
      return WriteNextField(As<Data::ErrorValue>(value));
    default:
      return WriteOptionalChild(As<Data::OptionalValue>(value));
  }
}

template <typename Policy>
bool ValueToJsonAdapter<Policy>::WriteNextElement(const Data::ListValue& list) {
  std::size_t& next = entries_.back().next;
  if (next == list.size()) {
    writer_.EndArray();
    return false;
  }
  WriteValue(list[next++].get());
  return true;
}

template <typename Policy>
bool ValueToJsonAdapter<Policy>::WriteNextField(const Data::NamedFields& fields) {
  std::size_t& next = entries_.back().next;
  if (next == fields.size()) {
    for (int level = 0; level < 3; ++level) writer_.EndObject();
    return false;
  }
  const auto& field = fields.begin()[static_cast<std::ptrdiff_t>(next++)];
  writer_.Key(field.first);
  WriteValue(field.second.get());
  return true;
}

template <typename Policy>
bool ValueToJsonAdapter<Policy>::WriteOptionalChild(const Data::OptionalValue& optional) {
  if (entries_.back().next++ == 1) {
    writer_.EndObject();
    return false;
  }
  if (optional.HasValue()) {
    WriteValue(optional.GetValue().get());
  } else {
    writer_.Null();
  }
  return true;
}

template class ValueToJsonAdapter<Secure>;

}  // namespace Krova::Protocol::Json
