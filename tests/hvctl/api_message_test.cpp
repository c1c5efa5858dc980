#include "api_message.h"

#include <gtest/gtest.h>
#include <json/json.h>

#include "failure.h"

namespace Hvctl {
namespace {

TEST(MakeRequest, WrapsTheInputDocumentAsText) {
  Json::Value request;
  ASSERT_TRUE(
      Json::Reader().parse(MakeRequest("poll_export_status", "{\"locale\":\"d\u00e9\"}"), request));
  EXPECT_EQ(request["jsonrpc"].asString(), "2.0");
  EXPECT_TRUE(request["id"].isString());
  EXPECT_EQ(request["method"].asString(), "invoke");
  EXPECT_EQ(request["params"]["serviceId"].asString(), "halvard.migrator");
  EXPECT_EQ(request["params"]["operationId"].asString(), "poll_export_status");
  EXPECT_EQ(request["params"]["input"]["STRUCTURE"]["operation-input"]["json"].asString(),
            "{\"locale\":\"d\u00e9\"}");
  EXPECT_TRUE(request["params"]["ctx"].isObject());
}

TEST(ReadAnswer, GivesTheReplyDocument) {
  const Answer answer = ReadAnswer(R"({"jsonrpc":"2.0","id":"1","result":{"output":"{}\n"}})");
  EXPECT_EQ(answer.kind, Answer::Kind::kReply);
  EXPECT_EQ(answer.text, "{}\n");
}

TEST(ReadAnswer, DescribesProgress) {
  const Answer answer =
      ReadAnswer(R"({"jsonrpc":"2.0","id":"1","result":{"progress":{"STRUCTURE":{)"
                 R"("com.ostrel.krova.std.progress":{"min":0,"max":10,"current":3}}}}})");
  EXPECT_EQ(answer.kind, Answer::Kind::kProgress);
  EXPECT_EQ(answer.text, "progress 3 (0 to 10)");
}

TEST(ReadAnswer, FillsTheMessagesOfAnApiError) {
  const Answer answer = ReadAnswer(
      R"({"jsonrpc":"2.0","id":"1","result":{"error":{"ERROR":{"e.name":{"messages":[)"
      R"({"STRUCTURE":{"krova.core.runtime.message":{"args":["x"],)"
      R"("default_message":"Unknown interface: %1%","id":"krova.provider.interface.unknown"}}}]}}}}})");
  EXPECT_EQ(answer.kind, Answer::Kind::kError);
  EXPECT_EQ(answer.text, "e.name\n  Unknown interface: x (krova.provider.interface.unknown)");
}

TEST(ReadAnswer, DescribesAProtocolError) {
  const Answer answer =
      ReadAnswer(R"({"jsonrpc":"2.0","id":null,"error":{"code":-32700,"message":"Parse error."}})");
  EXPECT_EQ(answer.kind, Answer::Kind::kError);
  EXPECT_EQ(answer.text, "Error -32700: Parse error.");
}

TEST(ReadAnswer, RefusesWhatIsNoAnswer) {
  for (const char* text : {"", "no JSON", "[]", "{}", R"({"result":{}})",
                           R"({"result":{"error":{}}})", R"({"result":{"error":{"ERROR":[]}}})"}) {
    EXPECT_THROW(ReadAnswer(text), Failure) << text;
  }
}

TEST(ReadAnswer, RefusesADocumentNestedTooDeeply) {
  EXPECT_THROW(ReadAnswer(std::string(100000, '[')), Failure);
}

TEST(RefusalOf, IsTheErrorOfAFailedReplyAlone) {
  EXPECT_EQ(RefusalOf(R"({"result":"fail","error":"Not available."})"), "Not available.");
  EXPECT_EQ(RefusalOf(R"({"result":"fail"})"), "The agent gave no reason.");
  EXPECT_EQ(RefusalOf(R"({"result":"success","error":""})"), "");
  EXPECT_EQ(RefusalOf("[1]"), "");
  EXPECT_EQ(RefusalOf("no JSON"), "");
}

TEST(RefusalOf, IsTheErrorOfAReplyThatFailsWithANumberToo) {
  EXPECT_EQ(RefusalOf(R"({"result":1076,"error":"Not copied."})"), "Not copied.");
}

TEST(RefusalOf, RunnersOwnDocumentIsNone) {
  EXPECT_EQ(RefusalOf(R"({"status":"error","error":"disk full"})"), "");
  EXPECT_EQ(RefusalOf("null"), "");
}

TEST(InputProblem, IsEmptyForAnObjectAlone) {
  EXPECT_EQ(InputProblem("{}"), "");
  EXPECT_NE(InputProblem("[]"), "");
  EXPECT_NE(InputProblem("{"), "");
  EXPECT_NE(InputProblem(""), "");
  EXPECT_NE(InputProblem("{} trailing"), "");
}

}  // namespace
}  // namespace Hvctl
