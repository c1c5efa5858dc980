#include "krova/protocol/json/response_serializer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <string>

#include "krova/data/message_value.h"
#include "krova/protocol/json/protocol_error.h"
#include "krova/standard_errors.h"

namespace Krova::Protocol::Json {
namespace {

using std::make_shared;

std::string Result(const Core::MethodResult& result, const std::string& id = "1") {
  std::stringbuf sink;
  std::shared_ptr<const Data::ErrorValue> error;
  EXPECT_TRUE(JsonApiResponseSerializer<Secure>().SerializeResult(
      id, make_shared<Core::MethodResult>(result), sink, error));
  EXPECT_EQ(error, nullptr);
  return sink.str();
}

std::string ProgressText(const Progress& progress) {
  std::stringbuf sink;
  std::shared_ptr<const Data::ErrorValue> error;
  EXPECT_TRUE(JsonApiResponseSerializer<Secure>().SerializeProgress("7", progress, sink, error));
  EXPECT_EQ(error, nullptr);
  return sink.str();
}

std::string ErrorText(const std::shared_ptr<const Data::ErrorValue>& value) {
  std::stringbuf sink;
  std::shared_ptr<const Data::ErrorValue> error;
  EXPECT_TRUE(JsonApiResponseSerializer<Secure>().SerializeError(value, sink, error));
  EXPECT_EQ(error, nullptr);
  return sink.str();
}

TEST(SerializeResult, OutputOfAString) {
  EXPECT_EQ(Result(Core::MethodResult(make_shared<Data::StringValue>("{\n\"a\": 1\n}\n"))),
            R"({"jsonrpc":"2.0","id":"1","result":{"output":"{\n\"a\": 1\n}\n"}})");
}

TEST(SerializeResult, OutputOfVoidIsNull) {
  EXPECT_EQ(Result(Core::MethodResult(make_shared<Data::VoidValue>())),
            R"({"jsonrpc":"2.0","id":"1","result":{"output":null}})");
}

TEST(SerializeResult, SecretIsWrittenBackInClear) {
  EXPECT_EQ(Result(Core::MethodResult(make_shared<Data::SecretValue>("pass"))),
            R"({"jsonrpc":"2.0","id":"1","result":{"output":{"SECRET":"pass"}}})");
}

TEST(SerializeResult, ErrorWithItsMessages) {
  const auto error = Data::MakeErrorValue(
      kInvalidArgumentError, {MakeMessage("krova.invoke.invalid.input", "poll_export_status")});
  EXPECT_EQ(
      Result(Core::MethodResult(error)),
      R"({"jsonrpc":"2.0","id":"1","result":{"error":{"ERROR":{)"
      R"("com.ostrel.krova.std.errors.invalid_argument":{"messages":[{"STRUCTURE":{)"
      R"("krova.core.runtime.message":{"args":["poll_export_status"],)"
      R"("default_message":"Invalid input for method: %1%","id":"krova.invoke.invalid.input"}}}]}}}}})");
}

TEST(SerializeResult, ErrorGoesBeforeAnOutput) {
  Core::MethodResult both(make_shared<Data::StringValue>("x"));
  both.error = make_shared<Data::ErrorValue>("e");
  EXPECT_EQ(Result(both), R"({"jsonrpc":"2.0","id":"1","result":{"error":{"ERROR":{"e":{}}}}})");
}

TEST(SerializeResult, NeitherOutputNorErrorIsAnUnsetError) {
  Core::MethodResult neither(make_shared<Data::VoidValue>());
  neither.output = nullptr;
  EXPECT_EQ(Result(neither), R"({"jsonrpc":"2.0","id":"1","result":{"error":{}}})");
}

TEST(SerializeResult, IdIsEscaped) {
  EXPECT_EQ(Result(Core::MethodResult(make_shared<Data::VoidValue>()), "a\"\x01"),
            "{\"jsonrpc\":\"2.0\",\"id\":\"a\\\"\\u0001\",\"result\":{\"output\":null}}");
}

TEST(SerializeResult, AppendsToWhatTheSinkHolds) {
  std::stringbuf sink;
  std::shared_ptr<const Data::ErrorValue> error;
  JsonApiResponseSerializer<Secure> serializer;
  const auto result = make_shared<Core::MethodResult>(make_shared<Data::VoidValue>());
  serializer.SerializeResult("1", result, sink, error);
  serializer.SerializeResult("2", result, sink, error);
  EXPECT_EQ(sink.str(), R"({"jsonrpc":"2.0","id":"1","result":{"output":null}})"
                        R"({"jsonrpc":"2.0","id":"2","result":{"output":null}})");
}

TEST(SerializeProgress, NumbersInTheOrderMinMaxCurrent) {
  EXPECT_EQ(ProgressText({0, 100, 42}),
            R"({"jsonrpc":"2.0","id":"7","result":{"progress":{"STRUCTURE":{)"
            R"("com.ostrel.krova.std.progress":{"min":0,"max":100,"current":42}}}}})");
}

TEST(SerializeProgress, OnlyTheLowHalfOfEachNumberIsWrittenSigned) {
  EXPECT_THAT(ProgressText({0x1'0000'0005, 0xFFFF'FFFF, -3}),
              testing::HasSubstr(R"({"min":5,"max":-1,"current":-3})"));
  EXPECT_THAT(ProgressText({0x8000'0000, INT64_MAX, INT64_MIN}),
              testing::HasSubstr(R"({"min":-2147483648,"max":-1,"current":0})"));
}

TEST(SerializeError, EachErrorOfTheProtocolWithAndWithoutId) {
  const std::pair<ProtocolError, const char*> errors[] = {
      {kParseError, R"("error":{"code":-32700,"message":"Parse error."}})"},
      {kInvalidRequest, R"("error":{"code":-32600,"message":"Invalid Request."}})"},
      {kMethodNotFound, R"("error":{"code":-32601,"message":"Method not found."}})"},
      {kInvalidParams, R"("error":{"code":-32602,"message":"Invalid params."}})"},
      {kInternalError, R"("error":{"code":-32603,"message":"Internal error."}})"},
  };
  for (const auto& [error, text] : errors) {
    EXPECT_EQ(ErrorText(MakeProtocolError(error, "", {})),
              std::string(R"({"jsonrpc":"2.0","id":null,)") + text);
    EXPECT_EQ(ErrorText(MakeProtocolError(error, "x", {})),
              std::string(R"({"jsonrpc":"2.0","id":"x",)") + text);
  }
}

TEST(SerializeError, MessagesStayInside) {
  const auto value = MakeProtocolError(kInvalidParams, "1",
                                       {Data::MessageToValue(MakeJsonProtocolMessage(
                                           "krova.protocol.json.invalid.type", "inside"))});
  EXPECT_TRUE(value->HasField("messages"));
  EXPECT_THAT(ErrorText(value), testing::Not(testing::HasSubstr("inside")));
}

TEST(SerializeError, ErrorWithoutCodeAndMessageIsRefused) {
  std::stringbuf sink;
  std::shared_ptr<const Data::ErrorValue> error;
  EXPECT_TRUE(JsonApiResponseSerializer<Secure>().SerializeError(make_shared<Data::ErrorValue>("e"),
                                                                 sink, error));
  EXPECT_EQ(sink.str(), "");
  ASSERT_NE(error, nullptr);
  EXPECT_EQ(error->GetName(), kInternalServerError);
  EXPECT_THAT(error->ToString(), testing::HasSubstr("krova.data.error.getfield.unknown"));
}

TEST(SerializeError, CodeOfAnotherKindIsRefused) {
  const auto value = make_shared<Data::ErrorValue>("e");
  value->SetField("code", make_shared<Data::StringValue>("-1"));
  value->SetField("message", make_shared<Data::StringValue>("m"));
  std::stringbuf sink;
  std::shared_ptr<const Data::ErrorValue> error;
  EXPECT_TRUE(JsonApiResponseSerializer<Secure>().SerializeError(value, sink, error));
  EXPECT_EQ(sink.str(), "");
  ASSERT_NE(error, nullptr);
  EXPECT_THAT(error->ToString(), testing::HasSubstr("krova.data.invalid.type"));
}

}  // namespace
}  // namespace Krova::Protocol::Json
