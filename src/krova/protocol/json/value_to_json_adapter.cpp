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

/// Values lie all over the heap; the wait for the next one's memory can be spent on this one.
void FetchEarly(const DataValue* value) { __builtin_prefetch(value); }

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
  while (!entries_.empty()) Continue();
}

template <typename Policy>
bool ValueToJsonAdapter<Policy>::WriteValue(const DataValue* value) {
  const DataType type = Data::TypeOf(value);
  switch (type) {
    case DataType::kVoid:
      writer_.Null();
      return true;
    case DataType::kInteger:
      writer_.Integer(As<Data::IntegerValue>(*value).GetValue());
      return true;
    case DataType::kDouble:
      writer_.Double(As<Data::DoubleValue>(*value).GetValue());
      return true;
    case DataType::kBoolean:
      writer_.Bool(As<Data::BooleanValue>(*value).GetValue());
      return true;
    case DataType::kString:
      writer_.String(As<Data::StringValue>(*value).GetValue());
      return true;
    case DataType::kBlob:
      WriteWrapped(writer_, type, EncodeBase64(As<Data::BlobValue>(*value).GetValue()));
      return true;
    case DataType::kSecret:
      WriteSecret(Policy(), writer_, As<Data::SecretValue>(*value));
      return true;
    case DataType::kUnknown:
      writer_.StartObject();
      writer_.EndObject();
      return true;
    default:
      return Open(*value, type);
  }
}

template <typename Policy>
bool ValueToJsonAdapter<Policy>::Open(const DataValue& value, DataType type) {
  entries_.push_back({&value});
  switch (type) {
    case DataType::kList:
      writer_.StartArray();
      break;
    case DataType::kStruct:
      OpenFields(writer_, type, As<Data::StructValue>(value));
      break;
    case DataType::kError:
      OpenFields(writer_, type, As<Data::ErrorValue>(value));
      break;
    default:
      writer_.StartObject();
      writer_.Key(Data::WireWord(type));
  }
  return false;
}

template <typename Policy>
void ValueToJsonAdapter<Policy>::Continue() {
  const DataValue& value = *entries_.back().value;
  switch (Data::TypeOf(&value)) {
    case DataType::kList:
      return ContinueList(As<Data::ListValue>(value));
    case DataType::kStruct:
      return ContinueFields(As<Data::StructValue>(value));
    case DataType::kError:
      return ContinueFields(As<Data::ErrorValue>(value));
    default:
      return ContinueOptional(As<Data::OptionalValue>(value));
  }
}

template <typename Policy>
void ValueToJsonAdapter<Policy>::ContinueList(const Data::ListValue& list) {
  const std::size_t level = entries_.size() - 1;
  for (std::size_t next = entries_[level].next; next < list.size(); ++next) {
    if (next + 1 < list.size()) FetchEarly(list[next + 1].get());
    if (WriteValue(list[next].get())) continue;
    entries_[level].next = next + 1;
    return;
  }
  writer_.EndArray();
  entries_.pop_back();
}

template <typename Policy>
void ValueToJsonAdapter<Policy>::ContinueFields(const Data::NamedFields& fields) {
  const std::size_t level = entries_.size() - 1;
  const auto begin = fields.begin();
  for (std::size_t next = entries_[level].next; next < fields.size(); ++next) {
    const auto field = begin + static_cast<std::ptrdiff_t>(next);
    if (next + 1 < fields.size()) FetchEarly(field[1].second.get());
    writer_.Key(field->first);
    if (WriteValue(field->second.get())) continue;
    entries_[level].next = next + 1;
    return;
  }
  // The fields, the name, the wrapper.
  for (int object = 0; object < 3; ++object) writer_.EndObject();
  entries_.pop_back();
}

template <typename Policy>
void ValueToJsonAdapter<Policy>::ContinueOptional(const Data::OptionalValue& optional) {
  if (entries_.back().next++ == 0) {
    if (!optional.HasValue()) {
      writer_.Null();
    } else if (!WriteValue(optional.GetValue().get())) {
      return;
    }
  }
  writer_.EndObject();
  entries_.pop_back();
}

template class ValueToJsonAdapter<Secure>;

}  // namespace Krova::Protocol::Json
