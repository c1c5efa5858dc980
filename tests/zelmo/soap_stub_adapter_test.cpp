#include "zelmo/soap_stub_adapter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "soap_answers.h"
#include "zelmo/fault.h"
#include "zelmo/member_reader.h"
#include "zelmo/property_collector.h"

namespace Zelmo {
namespace {

using testing::AllOf;
using testing::EndsWith;
using Testing::Envelope;
using Testing::FailureOf;
using Testing::FaultAnswer;
using Testing::FaultBody;
using testing::HasSubstr;
using Testing::kSelf;
using Testing::kVersion;
using Testing::MakeAdapter;
using testing::Not;
using Testing::RequestEnvelope;
using Testing::ResponseBody;
using testing::StartsWith;
using Tunrak::Testing::HttpAnswer;
using Tunrak::Testing::ScriptedServer;

std::string Response(const std::string& results) {
  return Testing::Response("Do", results, "urn:test");
}

std::string WithCookie(std::string answer, const std::string& cookie) {
  return answer.insert(answer.find("\r\n") + 2, "Set-Cookie: " + cookie + "\r\n");
}

TEST(SoapStubAdapter, RequestIsTheseBytes) {
  ScriptedServer server({Response("<result>x</result>")});
  const auto adapter = MakeAdapter(server, "/sdk/test", &kVersion);
  EXPECT_EQ(TextOf(adapter->Invoke(kSelf, "Do").One()), "x");
  const std::string content =
      RequestEnvelope("<Do xmlns=\"urn:test\"><self type=\"Folder\">group-d1</self></Do>");
  ASSERT_EQ(server.Requests().size(), 1u);
  EXPECT_EQ(server.Requests().front(),
            "POST /sdk/test HTTP/1.1\r\nHost: " + server.Address() +
                "\r\nUser-Agent: tunrak/6.0\r\nContent-Type: text/xml; charset=utf-8\r\n"
                "SOAPAction: \"urn:test/1\"\r\nContent-Length: " +
                std::to_string(content.size()) + "\r\n\r\n" + content);
}

TEST(SoapStubAdapter, SessionThatTheServerOpensIsKept) {
  ScriptedServer server({Response(""),
                         WithCookie(Response(""), "zelmo_session=\"a1\"; Path=/; Secure; HttpOnly"),
                         WithCookie(Response(""), "other=\"x\"; Path=/"),
                         WithCookie(Response(""), "zelmo_session=b"), Response("")});
  const auto adapter = MakeAdapter(server, "/sdk/test", &kVersion);
  for (int i = 0; i < 5; ++i) adapter->Invoke(kSelf, "Do").None();
  const auto requests = server.Requests();
  EXPECT_THAT(requests[0], Not(HasSubstr("Cookie")));
  EXPECT_THAT(requests[1], Not(HasSubstr("Cookie")));
  EXPECT_THAT(requests[2],
              HasSubstr("SOAPAction: \"urn:test/1\"\r\nCookie: zelmo_session=\"a1\"\r\n"
                        "Content-Length: "));
  EXPECT_THAT(requests[3], HasSubstr("\r\nCookie: zelmo_session=\"a1\"\r\n"));
  EXPECT_THAT(requests[4], HasSubstr("\r\nCookie: zelmo_session=b\r\n"));
}

class FaultTypes : public testing::TestWithParam<const char*> {};

TEST_P(FaultTypes, FaultIsThrownWithTypeAndText) {
  ScriptedServer server({FaultAnswer(GetParam(), "It is &lt;so&gt;.")});
  const auto adapter = MakeAdapter(server, "/sdk/test", &kVersion);
  try {
    adapter->Invoke(kSelf, "Do");
    FAIL() << "no fault";
  } catch (const Fault& fault) {
    EXPECT_EQ(fault.GetType(), GetParam());
    EXPECT_EQ(fault.what(),
              "Do on " + server.Address() + " failed: " + GetParam() + ": It is <so>.");
  }
}
INSTANTIATE_TEST_SUITE_P(Wire, FaultTypes,
                         testing::Values("InvalidLogin", "NotAuthenticated", "InvalidRequest",
                                         "InvalidVersion", "ManagedObjectNotFound",
                                         "InvalidArgument", "InvalidProperty", "InvalidType",
                                         "NotFound", "AlreadyExists", "SystemError"),
                         [](const auto& type) { return std::string(type.param); });

TEST(SoapStubAdapter, FaultWithoutATypeIsAFaultToo) {
  ScriptedServer server({HttpAnswer("500 Internal Server Error",
                                    Envelope("<soapenv:Fault><faultstring>a\nb</faultstring>"
                                             "</soapenv:Fault>"))});
  EXPECT_EQ(FailureOf([&] { MakeAdapter(server, "/x", &kVersion)->Invoke(kSelf, "Do"); }),
            "Do on " + server.Address() + " failed: Fault: a b");
}

TEST(SoapStubAdapter, CallsGoOnAfterAFault) {
  ScriptedServer server({FaultAnswer("NotFound", "x"), Response("")});
  const auto adapter = MakeAdapter(server, "/sdk/test", &kVersion);
  EXPECT_THROW(adapter->Invoke(kSelf, "Do"), Fault);
  adapter->Invoke(kSelf, "Do").None();
  EXPECT_EQ(server.Connections(), 1);
}

TEST(SoapStubAdapter, OtherAnswersFail) {
  const std::string good = ResponseBody("Do", "", "urn:test");
  const std::string html =
      "HTTP/1.1 200 OK\r\nContent-Type: text/html\r\nContent-Length: 4\r\n\r\n"
      "<a/>";
  const std::pair<std::string, std::string> kAnswers[] = {
      {HttpAnswer("404 Not Found", good),
       "/x was answered with HTTP status 404 Not Found of type \"text/xml; charset=utf-8\"."},
      {HttpAnswer("201 Created", good),
       "/x was answered with HTTP status 201 Created of type \"text/xml; charset=utf-8\"."},
      {html, "/x was answered with HTTP status 200 OK of type \"text/html\"."},
      {"HTTP/1.1 503 \r\nContent-Length: 0\r\n\r\n",
       "/x was answered with HTTP status 503 Service Unavailable of type \"\"."},
      {HttpAnswer("200 OK", FaultBody("NotFound", "x")),
       "Unexpected answer: HTTP status 200 OK with a fault."},
      {HttpAnswer("500 Error", good), "Unexpected answer: HTTP status 500 Error without a fault."},
      {HttpAnswer("200 OK", ResponseBody("Undo", "", "urn:test")),
       "Unexpected answer: \"UndoResponse\" instead of one to Do."},
      {HttpAnswer("200 OK", "garbage"), "Bad XML: text beside the document's element."},
      {HttpAnswer("200 OK", ""), "Bad XML: it ends within an element."},
  };
  for (const auto& [answer, reason] : kAnswers) {
    ScriptedServer server({answer});
    const auto adapter = MakeAdapter(server, "/x", &kVersion);
    EXPECT_EQ(FailureOf([&] { adapter->Invoke(kSelf, "Do"); }),
              "Do on " + server.Address() + " failed: " + reason);
  }
}

TEST(SoapStubAdapter, TypeOfTheContentIsReadAsHttpDoes) {
  for (const char* type : {"text/xml", "TEXT/XML;charset=\"utf-8\"", "text/xml ; charset=utf-8"}) {
    const std::string body = ResponseBody("Do", "", "urn:test");
    ScriptedServer server({"HTTP/1.1 200 OK\r\nContent-Type: " + std::string(type) +
                           "\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" +
                           body});
    EXPECT_EQ(FailureOf([&] { MakeAdapter(server, "/x", &kVersion)->Invoke(kSelf, "Do").None(); }),
              "")
        << type;
  }
}

TEST(SoapStubAdapter, NumberOfResultsIsHeld) {
  ScriptedServer server({Response("<result/>"), Response(""), Response("<result/><result/>"),
                         Response("<result/><result/>"), Response("")});
  const auto adapter = MakeAdapter(server, "/x", &kVersion);
  EXPECT_EQ(FailureOf([&] { adapter->Invoke(kSelf, "Do").None(); }),
            "Unexpected answer: 1 results of Do.");
  EXPECT_EQ(FailureOf([&] { adapter->Invoke(kSelf, "Do").One(); }),
            "Unexpected answer: 0 results of Do.");
  EXPECT_EQ(FailureOf([&] { adapter->Invoke(kSelf, "Do").One(); }),
            "Unexpected answer: 2 results of Do.");
  EXPECT_EQ(FailureOf([&] { adapter->Invoke(kSelf, "Do").OneOrNone(); }),
            "Unexpected answer: 2 results of Do.");
  EXPECT_FALSE(adapter->Invoke(kSelf, "Do").OneOrNone());
}

TEST(SoapStubAdapter, RefusedArgumentIsNotSent) {
  ScriptedServer server({Response("")});
  const auto adapter = MakeAdapter(server, "/x", &kVersion);
  EXPECT_EQ(
      FailureOf([&] {
        adapter->Invoke(kSelf, "Do", [](MemberWriter& call) { call.Text("password", "a\x01"); });
      }),
      "Do on " + server.Address() + " failed: The password has a character that can't be sent.");
  EXPECT_EQ(server.Connections(), 0);
}

TEST(SoapStubAdapter, StubsHaveTheClassOfTheirReferencesType) {
  InitializeStaticTypes();
  ScriptedServer server({Response("")});
  const auto adapter = MakeAdapter(server, "/x", &kVersion);
  const MoRef collector{"PropertyCollector", "pc"};
  const auto stub = adapter->CreateStub(collector);
  EXPECT_NE(dynamic_cast<Core::PropertyCollector*>(stub.get()), nullptr);
  EXPECT_EQ(stub->GetMoRef(), collector);
  const auto stranger = adapter->CreateStub({"Stranger", "s"});
  EXPECT_EQ(dynamic_cast<Core::PropertyCollector*>(stranger.get()), nullptr);
  EXPECT_EQ(stranger->GetMoRef().type, "Stranger");
}

TEST(CreateSoapStubAdapter, WantsAllButAFilter) {
  ScriptedServer server({Response("")});
  const auto agent = Tunrak::Http::CreateHttpUserAgent(
      Tunrak::Http::CreateTCPConnectionSpec("127.0.0.1", server.Port(), false));
  const auto* logger = Testing::SilentLogger();
  EXPECT_NE(CreateSoapStubAdapter(agent, "/x", &kVersion, logger, nullptr), nullptr);
  EXPECT_NE(FailureOf([&] { CreateSoapStubAdapter(nullptr, "/x", &kVersion, logger, nullptr); }),
            "");
  EXPECT_NE(FailureOf([&] { CreateSoapStubAdapter(agent, "/x", nullptr, logger, nullptr); }), "");
  EXPECT_NE(FailureOf([&] { CreateSoapStubAdapter(agent, "/x", &kVersion, nullptr, nullptr); }),
            "");
}

}  // namespace
}  // namespace Zelmo
