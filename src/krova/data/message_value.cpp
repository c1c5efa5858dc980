#include "krova/data/message_value.h"

#include <utility>
#include <vector>

#include "krova/data/native.h"

namespace Krova::Data {
namespace {

constexpr char kMessageStruct[] = "krova.core.runtime.message";

bool ReadStringField(const StructValue& structure, const char* name, std::string& text,
                     MessageList& errors) {
  ValuePointer field;
  return structure.GetField(name, field, errors) &&
         DataValueHelper::ToNative<Strict>(field, text, errors);
}

bool ReadArguments(const StructValue& structure, std::vector<std::string>& args,
                   MessageList& errors) {
  ValuePointer field;
  if (!structure.GetField("args", field, errors)) return false;
  const ListValue* list = ValueCast<ListValue>(field.get());
  if (list == nullptr) {
    errors.push_back(MakeMessage("krova.data.bad.cast", TypeWord(TypeOf(field)), "List"));
    return false;
  }
  for (const ValuePointer& element : *list) {
    if (!DataValueHelper::ToNative<Strict>(element, args.emplace_back(), errors)) return false;
  }
  return true;
}

}  // namespace

std::shared_ptr<const StructValue> MessageToValue(const BaseMessage& message) {
  const auto args = std::make_shared<ListValue>();
  args->reserve(message.args.size());
  for (const std::string& arg : message.args) args->push_back(std::make_shared<StringValue>(arg));
  const auto structure = std::make_shared<StructValue>(kMessageStruct);
  structure->SetField("args", args);
  structure->SetField("default_message", std::make_shared<StringValue>(message.default_message));
  structure->SetField("id", std::make_shared<StringValue>(message.id));
  return structure;
}

bool MessageFromValue(const ValuePointer& value, BaseMessage& message, MessageList& errors) {
  const StructValue* structure = ValueCast<StructValue>(value.get());
  if (structure == nullptr || structure->GetName() != kMessageStruct) {
    errors.push_back(MakeMessage("krova.data.invalid.type"));
    return false;
  }
  BaseMessage read;
  if (!ReadStringField(*structure, "id", read.id, errors) ||
      !ReadStringField(*structure, "default_message", read.default_message, errors) ||
      !ReadArguments(*structure, read.args, errors)) {
    return false;
  }
  message = std::move(read);
  return true;
}

std::shared_ptr<const ErrorValue> MakeErrorValue(const std::string& name,
                                                 const MessageList& messages) {
  auto list = std::make_shared<ListValue>();
  list->reserve(messages.size());
  for (const BaseMessage& message : messages) list->push_back(MessageToValue(message));
  return std::make_shared<ErrorValue>(name, std::move(list));
}

}  // namespace Krova::Data
