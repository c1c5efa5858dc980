// Any bytes end in one call of the visitor or in one answer that is JSON. What was called is sent
// again with its own input, and must come out the same.
#include <cstddef>
#include <cstdint>
#include <memory>
#include <sstream>
#include <string>

#include "krova/protocol/json/request_deserializer.h"
#include "krova/protocol/json/response_serializer.h"
#include "krova/protocol/value_text.h"
#include "require.h"

namespace {

using Krova::Core::ExecutionContext;
using Krova::Core::MethodIdentifier;
using Krova::Core::MethodResult;
using Krova::Data::ErrorValue;
using Krova::Data::ValuePointer;
using Krova::Protocol::Json::JsonApiRequestDeserializer;
using Krova::Protocol::Json::JsonApiResponseSerializer;
using Krova::Protocol::Json::Secure;

class Recorder : public Krova::Core::ApiRequestVisitor {
 public:
  void Invoke(const std::string& requestId, const std::shared_ptr<const MethodIdentifier>& method,
              const ValuePointer& value, const std::shared_ptr<ExecutionContext>& ctx) override {
    ++calls;
    Require(!requestId.empty() && value != nullptr && ctx != nullptr);
    Require(!method->GetName().empty() && !method->GetInterface()->GetName().empty());
    id = requestId;
    input = value;
  }

  int calls = 0;
  std::string id;
  ValuePointer input;
};

bool Deserialize(const std::string& text, Recorder& recorder,
                 std::shared_ptr<const ErrorValue>& error) {
  std::stringbuf source(text);
  const bool called = JsonApiRequestDeserializer().Deserialize(source, recorder, error);
  Require(recorder.calls == (called ? 1 : 0) && (error == nullptr) == called);
  return called;
}

void RequireJson(const std::string& text) {
  // An answer is no data value, but tokens are tokens.
  Require(Krova::Testing::ReadValue(text).isJson);
}

void AnswerRefusal(const std::shared_ptr<const ErrorValue>& refusal) {
  std::stringbuf sink;
  std::shared_ptr<const ErrorValue> error;
  Require(JsonApiResponseSerializer<Secure>().SerializeError(refusal, sink, error));
  Require(error == nullptr && sink.str().starts_with("{\"jsonrpc\":\"2.0\",\"id\":"));
  RequireJson(sink.str());
}

void EchoAndCallAgain(const Recorder& first) {
  std::stringbuf sink;
  std::shared_ptr<const ErrorValue> error;
  JsonApiResponseSerializer<Secure>().SerializeResult(
      first.id, std::make_shared<MethodResult>(first.input), sink, error);
  RequireJson(sink.str());

  const std::string input = Krova::Testing::WriteValue(first.input);
  Recorder second;
  Require(Deserialize(R"({"jsonrpc":"2.0","id":"1","method":"invoke","params":{"serviceId":"s",)"
                      R"("operationId":"o","ctx":{},"input":)" +
                          input + "}}",
                      second, error));
  Require(Krova::Testing::WriteValue(second.input) == input);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Recorder recorder;
  std::shared_ptr<const ErrorValue> refusal;
  if (Deserialize(std::string(reinterpret_cast<const char*>(data), size), recorder, refusal)) {
    EchoAndCallAgain(recorder);
  } else {
    AnswerRefusal(refusal);
  }
  return 0;
}
