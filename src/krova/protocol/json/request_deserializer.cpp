#include "krova/protocol/json/request_deserializer.h"

#include <optional>
#include <utility>

#include "krova/data/message_value.h"
#include "krova/protocol/json/frame_stack.h"
#include "krova/protocol/json/protocol_error.h"
#include "krova/protocol/json/request_frames.h"
#include "krova/protocol/json/text_copy.h"
#include "krova/protocol/json/token_reader.h"

namespace Krova::Protocol::Json {
namespace {

/// Why a request that is JSON isn't carried out.
struct Refusal {
  ProtocolError error;
  /// Told beside what the parser found, unless that alone is the reason.
  std::optional<BaseMessage> message;
  bool namesTheRequest = true;
};

bool LacksAllParams(const RequestRecord& record) {
  return record.serviceId.empty() && record.operationId.empty() && record.input == nullptr &&
         record.context == nullptr;
}

bool LacksAParam(const RequestRecord& record) {
  return record.serviceId.empty() || record.operationId.empty() || record.input == nullptr ||
         record.context == nullptr;
}

bool IsIncomplete(const RequestRecord& record) {
  return record.jsonrpc.empty() || record.id.empty() || record.method.empty() ||
         LacksAllParams(record);
}

/// The order of the checks decides which code a client sees.
std::optional<Refusal> Check(const RequestRecord& record, bool parserFailed) {
  if (IsIncomplete(record)) {
    return Refusal{kInvalidRequest,
                   MakeJsonProtocolMessage("krova.protocol.json.incomplete.request"), false};
  }
  if (FindMethod(record.method) == Method::kUnknown) {
    return Refusal{
        kMethodNotFound,
        MakeJsonProtocolMessage("krova.protocol.json.request.unknown.method", record.method)};
  }
  if (LacksAParam(record)) {
    return Refusal{kInvalidParams,
                   MakeJsonProtocolMessage("krova.protocol.json.request.invalid.params")};
  }
  if (parserFailed) return Refusal{kInvalidParams, std::nullopt};
  return std::nullopt;
}

std::shared_ptr<const Data::ErrorValue> MakeRefusal(const Refusal& refusal,
                                                    const RequestRecord& record,
                                                    const FrameStack& frames) {
  Data::ValueList messages = frames.Faults();
  if (refusal.message) messages.push_back(Data::MessageToValue(*refusal.message));
  return MakeProtocolError(refusal.error, refusal.namesTheRequest ? record.id : "",
                           std::move(messages));
}

/// Fills \p record. \return Null if the request can be carried out.
std::shared_ptr<const Data::ErrorValue> ReadRequest(std::streambuf& source, RequestRecord& record) {
  TextCopy text(source);
  FrameStack frames(RequestRootFrame(record));
  if (!ReadTokens(text, frames)) return MakeProtocolError(kParseError, "", frames.Faults());
  const auto refusal = Check(record, frames.HasFailed());
  return refusal ? MakeRefusal(*refusal, record, frames) : nullptr;
}

}  // namespace

bool JsonApiRequestDeserializer::Deserialize(std::streambuf& source,
                                             Core::ApiRequestVisitor& visitor,
                                             std::shared_ptr<const Data::ErrorValue>& error) {
  // The copy of the text is gone when the visitor is called, which may take long.
  RequestRecord record;
  auto refusal = ReadRequest(source, record);
  if (refusal != nullptr) {
    error = std::move(refusal);
    return false;
  }
  const auto method = std::make_shared<Core::MethodIdentifier>(
      std::make_shared<Core::InterfaceIdentifier>(std::move(record.serviceId)),
      std::move(record.operationId));
  visitor.Invoke(record.id, method, record.input, record.context);
  return true;
}

bool JsonApiRequestDeserializer::Deserialize(std::istream& source, Core::ApiRequestVisitor& visitor,
                                             std::shared_ptr<const Data::ErrorValue>& error) {
  return Deserialize(*source.rdbuf(), visitor, error);
}

}  // namespace Krova::Protocol::Json
