// Faults of operations, as they are planned.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>

#include "standins/soap_client.h"
#include "support/kelvane_server.h"

namespace Lab::Testing {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;

class OperationFaultsTest : public ::testing::Test {
 protected:
  /// \param members  What the fault has beside operation and kind.
  static Json::Value With(const char* kind, const Json::Value& members = Json::objectValue,
                          const char* operation = "RetrieveContent") {
    Json::Value config = KelvaneServer::UsualConfig();
    Json::Value fault = members;
    fault["operation"] = operation;
    fault["kind"] = kind;
    config["faults"].append(fault);
    return config;
  }

  static Json::Value Member(const char* name, const Json::Value& value) {
    Json::Value members;
    members[name] = value;
    return members;
  }
};

TEST_F(OperationFaultsTest, FaultComesInPlaceOfTheAnswer) {
  Json::Value members = Member("type", "InvalidRequest");
  members["text"] = "Not <now>.";
  const KelvaneServer server(With("fault", members));
  SoapClient client(server.Port());

  const HttpReply reply = client.Call(RetrieveContent());

  EXPECT_EQ(reply.status, 500);
  EXPECT_EQ(reply.Fault(), "InvalidRequest");
  EXPECT_EQ(reply.Element("faultcode"), "soapenv:Server");
  EXPECT_EQ(reply.Element("faultstring"), "Not &lt;now&gt;.");
  EXPECT_EQ(server.Events("request").at(0)["planned"].asString(), "fault");
  EXPECT_THAT(server.Refusals(), IsEmpty());
}

TEST_F(OperationFaultsTest, FaultIsASystemErrorUnlessTold) {
  const KelvaneServer server(With("fault"));
  SoapClient client(server.Port());

  EXPECT_EQ(client.Call(RetrieveContent()).Fault(), "SystemError");
}

TEST_F(OperationFaultsTest, NothingIsDoneBeforeAFault) {
  const KelvaneServer server(With("fault", {}, "Login"));
  SoapClient client(server.Port());
  client.Login(KelvaneServer::kUser, KelvaneServer::kPassword);

  EXPECT_THAT(server.Events("session"), IsEmpty());
}

TEST_F(OperationFaultsTest, CallNamesTheOneThatFails) {
  const KelvaneServer server(With("fault", Member("call", 2)));
  SoapClient client(server.Port());

  EXPECT_EQ(client.Call(RetrieveContent()).status, 200);
  EXPECT_EQ(client.Call(RetrieveContent()).status, 500);
  EXPECT_EQ(client.Call(RetrieveContent()).status, 200);
}

TEST_F(OperationFaultsTest, FromNamesTheFirstThatFails) {
  const KelvaneServer server(With("fault", Member("from", 2)));
  SoapClient client(server.Port());

  EXPECT_EQ(client.Call(RetrieveContent()).status, 200);
  EXPECT_EQ(client.Call(RetrieveContent()).status, 500);
  EXPECT_EQ(client.Call(RetrieveContent()).status, 500);
}

TEST_F(OperationFaultsTest, CallsAreCountedForEachOperation) {
  const KelvaneServer server(With("fault", Member("call", 1), "Logout"));
  SoapClient client(server.Port());

  EXPECT_EQ(client.Call(RetrieveContent()).status, 200);
  EXPECT_EQ(client.Login(KelvaneServer::kUser, KelvaneServer::kPassword).status, 200);
  EXPECT_EQ(client.Call(Logout()).status, 500);
  EXPECT_EQ(client.Call(Logout()).status, 200);
}

TEST_F(OperationFaultsTest, GarbageIsWhatIsTold) {
  Json::Value members = Member("text", "<a>");
  members["times"] = 100;
  members["status"] = 503;
  const KelvaneServer server(With("garbage", members));
  SoapClient client(server.Port());

  const HttpReply reply = client.Call(RetrieveContent());

  EXPECT_EQ(reply.status, 503);
  EXPECT_EQ(reply.body.size(), 300u);
  EXPECT_THAT(reply.body, HasSubstr("<a><a>"));
  EXPECT_EQ(server.Events("request").at(0)["outcome"].asString(), "garbage");
}

TEST_F(OperationFaultsTest, GarbageMayBeEmpty) {
  const KelvaneServer server(With("garbage", Member("times", 0)));
  SoapClient client(server.Port());

  const HttpReply reply = client.Call(RetrieveContent());

  EXPECT_EQ(reply.status, 200);
  EXPECT_EQ(reply.body, "");
}

TEST_F(OperationFaultsTest, CutEndsWithinTheAnswerWithoutAGoodbye) {
  for (const unsigned bytes : {0u, 1u, 17u, 200u}) {
    const KelvaneServer server(With("cut", Member("afterBytes", bytes)));
    SoapClient client(server.Port());
    client.Write(RetrieveContent().Bytes(""));

    EXPECT_EQ(client.ReadToEnd().size(), bytes);
    EXPECT_FALSE(client.EndedInGoodOrder()) << bytes;
  }
}

TEST_F(OperationFaultsTest, CutCallIsDoneNevertheless) {
  const KelvaneServer server(With("cut", Member("afterBytes", 5), "Login"));
  SoapClient client(server.Port());
  client.Write(Login(KelvaneServer::kUser, KelvaneServer::kPassword).Bytes(""));
  client.ReadToEnd();

  EXPECT_EQ(server.Events("session").size(), 1u);
}

TEST_F(OperationFaultsTest, CloseEndsTheConnectionBehindTheAnswer) {
  const KelvaneServer server(With("close", Member("call", 1)));
  SoapClient client(server.Port());

  const HttpReply reply = client.Call(RetrieveContent());

  EXPECT_EQ(reply.status, 200);
  EXPECT_EQ(client.ReadToEnd(), "");
  EXPECT_TRUE(client.EndedInGoodOrder());
}

TEST_F(OperationFaultsTest, PiecesMakeTheSameAnswer) {
  const KelvaneServer server(With("pieces", Member("bytes", 1)));
  const KelvaneServer whole;
  SoapClient inPieces(server.Port());
  SoapClient atOnce(whole.Port());

  EXPECT_EQ(inPieces.Call(RetrieveContent()).body, atOnce.Call(RetrieveContent()).body);
  EXPECT_EQ(server.Events("request").at(0)["planned"].asString(), "pieces");
}

TEST_F(OperationFaultsTest, SlowAnswerComesAfterItsTime) {
  constexpr auto kDelay = std::chrono::milliseconds(30);
  const KelvaneServer server(With("slow", Member("milliseconds", 30)));
  SoapClient client(server.Port());
  const auto begin = std::chrono::steady_clock::now();

  EXPECT_EQ(client.Call(RetrieveContent()).status, 200);

  EXPECT_GE(std::chrono::steady_clock::now() - begin, kDelay);
}

TEST_F(OperationFaultsTest, SlowAnswerHoldsNobodyElseUp) {
  Json::Value members = Member("milliseconds", 600'000);
  members["call"] = 1;
  const KelvaneServer server(With("slow", members));
  SoapClient waiting(server.Port());
  waiting.Write(RetrieveContent().Bytes(""));
  while (server.Events("request").empty()) {
  }
  SoapClient other(server.Port());

  EXPECT_EQ(other.Call(RetrieveContent()).status, 200);
}

}  // namespace
}  // namespace Lab::Testing
