#include "krova/protocol/json/protocol_error.h"

#include <utility>

#include "krova/standard_errors.h"

namespace Krova::Protocol::Json {

std::shared_ptr<const Data::ErrorValue> MakeProtocolError(const ProtocolError& error,
                                                          const std::string& requestId,
                                                          Data::ValueList messages) {
  auto value = std::make_shared<Data::ErrorValue>(kInvalidRequestError);
  value->SetField(kCodeField, std::make_shared<Data::IntegerValue>(error.code));
  value->SetField(kMessageField, std::make_shared<Data::StringValue>(error.text));
  value->SetField(kMessagesField, std::make_shared<Data::ListValue>(std::move(messages)));
  if (!requestId.empty()) {
    value->SetField(kRequestIdField, std::make_shared<Data::StringValue>(requestId));
  }
  return value;
}

}  // namespace Krova::Protocol::Json
