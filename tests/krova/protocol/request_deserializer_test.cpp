#include "krova/protocol/json/request_deserializer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <variant>

#include "krova/data/message_value.h"
#include "krova/protocol/json/response_serializer.h"
#include "krova/protocol/value_text.h"
#include "krova/small_stack.h"

namespace Krova::Protocol::Json {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Pair;
using testing::UnorderedElementsAre;

using Texts = Core::ExecutionContext::Texts;

/// What the visitor was given.
struct Call {
  std::string id;
  std::string service;
  std::string operation;
  Data::ValuePointer input;
  std::shared_ptr<Core::ExecutionContext> context;
};

class Recorder : public Core::ApiRequestVisitor {
 public:
  void Invoke(const std::string& id, const std::shared_ptr<const Core::MethodIdentifier>& method,
              const Data::ValuePointer& input,
              const std::shared_ptr<Core::ExecutionContext>& context) override {
    ASSERT_FALSE(call) << "called twice";
    call = {id, method->GetInterface()->GetName(), method->GetName(), input, context};
  }

  std::optional<Call> call;
};

struct Outcome {
  std::optional<Call> call;
  std::shared_ptr<const Data::ErrorValue> error;
};

Outcome Deserialize(const std::string& text) {
  Recorder recorder;
  Outcome outcome;
  std::stringbuf source(text);
  const bool called = JsonApiRequestDeserializer().Deserialize(source, recorder, outcome.error);
  outcome.call = std::move(recorder.call);
  EXPECT_EQ(called, outcome.call.has_value());
  EXPECT_EQ(called, outcome.error == nullptr);
  return outcome;
}

Call CallOf(const std::string& text) {
  const Outcome outcome = Deserialize(text);
  if (!outcome.call) throw std::runtime_error("refused: " + text);
  return *outcome.call;
}

/// What the client reads.
std::string AnswerTo(const std::string& text) {
  const Outcome outcome = Deserialize(text);
  if (outcome.error == nullptr) return "called";
  std::stringbuf sink;
  std::shared_ptr<const Data::ErrorValue> error;
  EXPECT_TRUE(JsonApiResponseSerializer<Secure>().SerializeError(outcome.error, sink, error));
  EXPECT_EQ(error, nullptr);
  return sink.str();
}

/// What stays inside.
MessageList MessagesOf(const std::string& text) {
  const Outcome outcome = Deserialize(text);
  const Data::ValuePointer* field = outcome.error->FindField("messages");
  MessageList messages;
  MessageList errors;
  for (const auto& value : *Data::ValueCast<Data::ListValue>(*field)) {
    EXPECT_TRUE(Data::MessageFromValue(value, messages.emplace_back(), errors));
  }
  return messages;
}

template <typename... Args>
BaseMessage Message(const char* shortId, Args&&... args) {
  return MakeJsonProtocolMessage(std::string("krova.protocol.json.") + shortId,
                                 std::forward<Args>(args)...);
}

std::string Request(const std::string& params, const std::string& method = "invoke",
                    const std::string& more = "") {
  return R"({"jsonrpc":"2.0","id":"r7","method":")" + method + R"(","params":)" + params + more +
         "}";
}

/// A request whose params are good but for what replaces the input or the context.
std::string RequestWith(const std::string& input, const std::string& context = "{}") {
  return Request(R"({"serviceId":"s","operationId":"o","input":)" + input + R"(,"ctx":)" + context +
                 "}");
}

const char kComplete[] =
    R"({"jsonrpc":"2.0","id":"1","method":"invoke","params":{"serviceId":"halvard.migrator",)"
    R"("operationId":"poll_export_status","input":{"STRUCTURE":{"operation-input":)"
    R"({"json":"{\"locale\":\"en\"}"}}},"ctx":{"appCtx":{},"securityCtx":{}}}})";

const char kParseErrorAnswer[] =
    R"({"jsonrpc":"2.0","id":null,"error":{"code":-32700,"message":"Parse error."}})";
const char kInvalidRequestAnswer[] =
    R"({"jsonrpc":"2.0","id":null,"error":{"code":-32600,"message":"Invalid Request."}})";
const char kMethodNotFoundAnswer[] =
    R"({"jsonrpc":"2.0","id":"r7","error":{"code":-32601,"message":"Method not found."}})";
const char kInvalidParamsAnswer[] =
    R"({"jsonrpc":"2.0","id":"r7","error":{"code":-32602,"message":"Invalid params."}})";

TEST(Deserialize, CompleteRequestReachesTheVisitor) {
  const Call call = CallOf(kComplete);
  EXPECT_EQ(call.id, "1");
  EXPECT_EQ(call.service, "halvard.migrator");
  EXPECT_EQ(call.operation, "poll_export_status");
  EXPECT_EQ(Testing::WriteValue(call.input),
            R"({"STRUCTURE":{"operation-input":{"json":"{\"locale\":\"en\"}"}}})");
  EXPECT_THAT(call.context->applicationContext, IsEmpty());
  EXPECT_THAT(call.context->securityContext, IsEmpty());
}

TEST(Deserialize, StreamAndBufferAreReadAlike) {
  std::istringstream stream(kComplete);
  Recorder recorder;
  std::shared_ptr<const Data::ErrorValue> error;
  EXPECT_TRUE(JsonApiRequestDeserializer().Deserialize(stream, recorder, error));
  EXPECT_EQ(recorder.call->operation, "poll_export_status");

  std::istringstream bad("[");
  EXPECT_FALSE(JsonApiRequestDeserializer().Deserialize(bad, recorder, error));
  EXPECT_EQ(error->GetName(), "invalid_request");
}

TEST(Deserialize, MembersMayComeInAnyOrder) {
  const Call call = CallOf(R"({"params":{"ctx":{},"input":5,"operationId":"o","serviceId":"s"},)"
                           R"("method":"invoke","id":"x","jsonrpc":"2.0"})");
  EXPECT_EQ(call.id, "x");
  EXPECT_EQ(Testing::WriteValue(call.input), "5");
}

TEST(Deserialize, VersionIsNotComparedWithAnything) {
  EXPECT_EQ(AnswerTo(R"({"jsonrpc":"x","id":"1","method":"invoke","params":)"
                     R"({"serviceId":"s","operationId":"o","input":1,"ctx":{}}})"),
            "called");
}

TEST(Deserialize, MemberGivenTwiceKeepsTheLastOne) {
  const Call call = CallOf(
      R"({"jsonrpc":"2.0","id":"a","id":"b","method":"no","method":"invoke","params":)"
      R"({"serviceId":"s","serviceId":"t","operationId":"o","input":[1],"input":[2],"ctx":{}}})");
  EXPECT_EQ(call.id, "b");
  EXPECT_EQ(call.service, "t");
  EXPECT_EQ(Testing::WriteValue(call.input), "[2]");
}

TEST(Deserialize, AnyKindOfValueCanBeTheInput) {
  for (const std::string input :
       {"null", "true", "-1", "2.5E0", R"("x")", "[]", R"({"OPTIONAL":null})", R"({"SECRET":"p"})",
        R"({"BINARY":"Zg=="})", R"({"ERROR":{"e":{}}})"}) {
    EXPECT_EQ(Testing::WriteValue(CallOf(RequestWith(input)).input), input);
  }
}

TEST(Deserialize, ContextsAreFilled) {
  const Call call = CallOf(RequestWith(
      "1",
      R"({"appCtx":{"opId":"1","lang":"en"},"securityCtx":{"scheme":"none","user":{"n":"x","r":""},)"
      R"("nothing":{}}})"));
  EXPECT_THAT(call.context->applicationContext,
              UnorderedElementsAre(Pair("opId", "1"), Pair("lang", "en")));
  const auto& security = call.context->securityContext;
  ASSERT_EQ(security.size(), 3U);
  EXPECT_EQ(std::get<std::string>(security.at("scheme")), "none");
  EXPECT_EQ(std::get<Texts>(security.at("user")), (Texts{{"n", "x"}, {"r", ""}}));
  EXPECT_EQ(std::get<Texts>(security.at("nothing")), Texts());
}

TEST(Deserialize, TrailingTextIsNotLookedAt) {
  EXPECT_EQ(AnswerTo(std::string(kComplete) + " trailing text"), "called");
  EXPECT_EQ(AnswerTo(std::string(kComplete) + "}}}]"), "called");
  EXPECT_EQ(AnswerTo(RequestWith("[") + " more"), kParseErrorAnswer);
}

TEST(Deserialize, EmptyBodyOrBlanksAreAParseError) {
  for (const char* text : {"", " ", "\r\n\t  "}) EXPECT_EQ(AnswerTo(text), kParseErrorAnswer);
}

TEST(Deserialize, MalformedJsonIsAParseErrorWithoutId) {
  for (const std::string text : {"{", "x", "{\"jsonrpc\":2.0.0}", "{'id':1}"}) {
    EXPECT_EQ(AnswerTo(text), kParseErrorAnswer) << text;
  }
  EXPECT_EQ(AnswerTo(RequestWith("1").substr(0, 60)), kParseErrorAnswer);
}

TEST(Deserialize, RequestCutAtAnyByteIsAParseErrorAndNoCrash) {
  const std::string whole = RequestWith(
      R"(["\ud83d\ude00\n",{"STRUCTURE":{"n":{"a":{"BINARY":"Zg=="},"b":{"OPTIONAL":{"SECRET":"x"}}}}},-1.5E-3])",
      R"({"appCtx":{"k":"v"},"securityCtx":{"a":"b","c":{"d":"e"}}})");
  ASSERT_EQ(AnswerTo(whole), "called");
  for (std::size_t length = 0; length < whole.size(); ++length) {
    ASSERT_EQ(AnswerTo(whole.substr(0, length)), kParseErrorAnswer) << length;
  }
}

TEST(Deserialize, EveryByteReplacedByAnyOtherNeverCrashes) {
  const std::string whole = RequestWith(R"([{"BINARY":"Zg=="},"\u00e4",1.5])");
  for (std::size_t place = 0; place < whole.size(); ++place) {
    for (const char byte : {'"', '\\', '{', '}', '[', ']', ',', ':', '0', '\0', '\xFF'}) {
      std::string text = whole;
      text[place] = byte;
      const std::string answer = AnswerTo(text);
      EXPECT_TRUE(answer == "called" || answer.find("\"error\":{\"code\":-32") != answer.npos);
    }
  }
}

TEST(Deserialize, IdThatIsANumberIsABadTokenAndTheRequestInvalid) {
  const std::string text = R"({"jsonrpc":"2.0","id":1,"method":"invoke","params":)"
                           R"({"serviceId":"s","operationId":"o","input":1,"ctx":{}}})";
  EXPECT_EQ(AnswerTo(text), kInvalidRequestAnswer);
  EXPECT_EQ(MessagesOf(text).front(), Message("invalid.token", "long"));
  EXPECT_EQ(MessagesOf(text).back(), Message("incomplete.request"));
}

TEST(Deserialize, IdThatIsNullIsABadToken) {
  const std::string text = R"({"jsonrpc":"2.0","id":null})";
  EXPECT_EQ(AnswerTo(text), kInvalidRequestAnswer);
  EXPECT_THAT(MessagesOf(text),
              ElementsAre(Message("invalid.token", "null"), Message("invalid.token", "endObj"),
                          Message("incomplete.request")));
}

TEST(Deserialize, MissingOrEmptyMemberIsAnInvalidRequest) {
  const std::string params = R"("params":{"serviceId":"s","operationId":"o","input":1,"ctx":{}})";
  for (const std::string& text :
       {R"({"id":"1","method":"invoke",)" + params + "}",
        R"({"jsonrpc":"","id":"1","method":"invoke",)" + params + "}",
        R"({"jsonrpc":"2.0","method":"invoke",)" + params + "}",
        R"({"jsonrpc":"2.0","id":"","method":"invoke",)" + params + "}",
        R"({"jsonrpc":"2.0","id":"1",)" + params + "}",
        R"({"jsonrpc":"2.0","id":"1","method":"",)" + params + "}",
        std::string(R"({"jsonrpc":"2.0","id":"1","method":"invoke"})"), std::string("{}")}) {
    EXPECT_EQ(AnswerTo(text), kInvalidRequestAnswer) << text;
    EXPECT_THAT(MessagesOf(text), ElementsAre(Message("incomplete.request"))) << text;
  }
}

TEST(Deserialize, EmptyParamsAreAnInvalidRequest) {
  EXPECT_EQ(AnswerTo(Request("{}")), kInvalidRequestAnswer);
}

TEST(Deserialize, ParamsThatAreNoObjectAreAnInvalidRequest) {
  EXPECT_EQ(AnswerTo(Request("[]")), kInvalidRequestAnswer);
  EXPECT_EQ(MessagesOf(Request("[]")).front(), Message("invalid.token", "startArray"));
}

TEST(Deserialize, TextThatIsNoObjectIsAnInvalidRequest) {
  EXPECT_EQ(AnswerTo("null"), kInvalidRequestAnswer);
  EXPECT_EQ(AnswerTo("5"), kInvalidRequestAnswer);
  EXPECT_THAT(MessagesOf("[true]"),
              ElementsAre(Message("invalid.token", "startArray"), Message("invalid.token", "bool"),
                          Message("invalid.token", "endArray"), Message("incomplete.request")));
}

TEST(Deserialize, MethodInAnotherCaseIsNotFound) {
  const std::string text =
      Request(R"({"serviceId":"s","operationId":"o","input":1,"ctx":{}})", "Invoke");
  EXPECT_EQ(AnswerTo(text), kMethodNotFoundAnswer);
  EXPECT_THAT(MessagesOf(text), ElementsAre(Message("request.unknown.method", "Invoke")));
}

TEST(Deserialize, UnknownMethodIsToldBeforeMissingParams) {
  EXPECT_EQ(AnswerTo(Request(R"({"serviceId":"s"})", "other")), kMethodNotFoundAnswer);
}

TEST(Deserialize, MissingParamIsInvalidParams) {
  for (const std::string params :
       {R"({"operationId":"o","input":1,"ctx":{}})", R"({"serviceId":"s","input":1,"ctx":{}})",
        R"({"serviceId":"s","operationId":"o","ctx":{}})",
        R"({"serviceId":"","operationId":"o","input":1,"ctx":{}})",
        R"({"serviceId":"s","operationId":"","input":1,"ctx":{}})", R"({"serviceId":"s"})",
        R"({"ctx":{}})", R"({"input":[]})"}) {
    EXPECT_EQ(AnswerTo(Request(params)), kInvalidParamsAnswer) << params;
    EXPECT_THAT(MessagesOf(Request(params)), ElementsAre(Message("request.invalid.params")));
  }
}

TEST(Deserialize, MissingContextIsInvalidParams) {
  EXPECT_EQ(AnswerTo(Request(R"({"serviceId":"s","operationId":"o","input":1})")),
            kInvalidParamsAnswer);
}

TEST(Deserialize, InputLeftUnsetIsAMissingParam) {
  EXPECT_EQ(AnswerTo(RequestWith("{}")), kInvalidParamsAnswer);
  EXPECT_THAT(MessagesOf(RequestWith("{}")), ElementsAre(Message("request.invalid.params")));
}

TEST(Deserialize, FurtherTopLevelMemberIsInvalidParams) {
  const std::string text = Request(R"({"serviceId":"s","operationId":"o","input":1,"ctx":{}})",
                                   "invoke", R"(,"extra":[])");
  EXPECT_EQ(AnswerTo(text), kInvalidParamsAnswer);
  EXPECT_THAT(
      MessagesOf(text),
      ElementsAre(Message("invalid.request.field", "extra"), Message("invalid.token", "startArray"),
                  Message("invalid.token", "endArray"), Message("invalid.token", "endObj")));
}

TEST(Deserialize, WordsOfOtherObjectsAreUnknownFields) {
  for (const std::string word : {"serviceId", "operationId", "input", "ctx", "appCtx",
                                 "securityCtx", "ID", "_UNKNOWN", ""}) {
    EXPECT_EQ(MessagesOf("{\"" + word + "\":1}").front(), Message("invalid.request.field", word));
  }
  for (const std::string word : {"jsonrpc", "id", "method", "params", "appCtx", "securityCtx"}) {
    EXPECT_EQ(MessagesOf(Request("{\"" + word + "\":1}")).front(),
              Message("invalid.request.field", word));
  }
  for (const std::string word :
       {"jsonrpc", "id", "method", "params", "serviceId", "input", "ctx"}) {
    EXPECT_EQ(MessagesOf(RequestWith("1", "{\"" + word + "\":1}")).front(),
              Message("invalid.request.field", word));
  }
}

TEST(Deserialize, FaultBeforeTheIdHidesTheRest) {
  // What came before the fault counts: neither id nor params did.
  EXPECT_EQ(AnswerTo(R"({"extra":1,"jsonrpc":"2.0","id":"1","method":"invoke"})"),
            kInvalidRequestAnswer);
}

TEST(Deserialize, FaultInTheInputLeavesItMissing) {
  EXPECT_EQ(AnswerTo(RequestWith(R"({"NOTHING":1})")), kInvalidParamsAnswer);
  const std::string onlyInput = Request(R"({"input":[1,{"NOTHING":1}]})");
  EXPECT_EQ(AnswerTo(onlyInput), kInvalidRequestAnswer);
}

TEST(Deserialize, FaultBehindACompleteInputKeepsIt) {
  EXPECT_EQ(AnswerTo(Request(R"({"input":[1],"NOTHING":1})")), kInvalidParamsAnswer);
}

TEST(Deserialize, MembersOfTheWrongKindAreBadTokens) {
  const std::pair<const char*, const char*> tokens[] = {{"null", "null"},     {"true", "bool"},
                                                        {"1", "long"},        {"1.5", "double"},
                                                        {"[]", "startArray"}, {"{}", "startObj"}};
  for (const auto& [token, word] : tokens) {
    for (const std::string& text :
         {"{\"jsonrpc\":" + std::string(token) + "}", "{\"method\":" + std::string(token) + "}",
          Request("{\"serviceId\":" + std::string(token) + "}"),
          Request("{\"operationId\":" + std::string(token) + "}"),
          RequestWith("1", R"({"appCtx":{"a":)" + std::string(token) + "}}"),
          RequestWith("1", R"({"securityCtx":{"a":{"b":)" + std::string(token) + "}}}")}) {
      EXPECT_EQ(MessagesOf(text).front(), Message("invalid.token", word)) << text;
    }
  }
  for (const std::string& text : {RequestWith("1", "[]"), RequestWith("1", R"({"appCtx":[]})"),
                                  RequestWith("1", R"({"securityCtx":[]})"),
                                  RequestWith("1", R"({"securityCtx":{"a":[]}})")}) {
    EXPECT_EQ(AnswerTo(text), kInvalidParamsAnswer);
    EXPECT_EQ(MessagesOf(text).front(), Message("invalid.token", "startArray")) << text;
  }
  EXPECT_EQ(MessagesOf(RequestWith("1", "\"\"")).front(), Message("invalid.token", "string"));
}

TEST(Deserialize, BadBase64IsInvalidParams) {
  const std::string text = RequestWith(R"({"BINARY":"?"})");
  EXPECT_EQ(AnswerTo(text), kInvalidParamsAnswer);
  EXPECT_EQ(MessagesOf(text).front(), Message("invalid.base64", "?"));
}

TEST(Deserialize, FaultsOfAMalformedTextAreKeptInside) {
  EXPECT_THAT(MessagesOf(R"({"id":1,)"), ElementsAre(Message("invalid.token", "long")));
}

TEST(Deserialize, ErrorValueHoldsCodeMessageIdAndMessages) {
  const auto error = Deserialize(Request(R"({"serviceId":"s","operationId":"o","input":1})")).error;
  EXPECT_EQ(Testing::WriteValue(error),
            R"({"ERROR":{"invalid_request":{"code":-32602,"message":"Invalid params.",)"
            R"("messages":[{"STRUCTURE":{"krova.core.runtime.message":{"args":[],)"
            R"("default_message":"Invalid parameters",)"
            R"("id":"krova.protocol.json.request.invalid.params"}}}],"request_id":"r7"}}})");
  EXPECT_FALSE(Deserialize("[").error->HasField("request_id"));
  EXPECT_FALSE(Deserialize("{}").error->HasField("request_id"));
}

TEST(Deserialize, IdIsEscapedInTheAnswer) {
  EXPECT_THAT(AnswerTo(R"({"jsonrpc":"2.0","id":"a\"\u001f","method":"x","params":{"ctx":{}}})"),
              HasSubstr(R"("id":"a\"\u001F")"));
}

TEST(Deserialize, NothingIsTakenFromAnEmptyVisitorCallTwice) {
  JsonApiRequestDeserializer deserializer;
  for (int i = 0; i < 3; ++i) {
    Recorder recorder;
    std::shared_ptr<const Data::ErrorValue> error;
    std::stringbuf source(kComplete);
    EXPECT_TRUE(deserializer.Deserialize(source, recorder, error));
    EXPECT_TRUE(recorder.call);
  }
}

TEST(Deserialize, DeepTextIsRefusedAnywhereOnASmallStack) {
  const std::string open(Testing::kDeep, '[');
  const std::string close(Testing::kDeep, ']');
  for (const std::string& text : {open + close, open, "{\"id\":" + open + close + "}",
                                  Request(open + close), RequestWith("1", open + close)}) {
    std::string answer;
    Testing::RunOnSmallStack([&] { answer = AnswerTo(text); });
    EXPECT_THAT(answer, HasSubstr("\"error\":{\"code\":-32"));
  }
}

TEST(Deserialize, DeepInputReachesTheVisitorOnASmallStack) {
  const std::string text =
      RequestWith(std::string(Testing::kDeep, '[') + std::string(Testing::kDeep, ']'));
  std::string answer;
  Testing::RunOnSmallStack([&] { answer = AnswerTo(text); });
  EXPECT_EQ(answer, "called");
}

}  // namespace
}  // namespace Krova::Protocol::Json
