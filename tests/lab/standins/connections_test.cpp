// Ways to the server: direct, through the tunnel, and what goes wrong with a connection by plan.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "standins/soap_client.h"
#include "support/kelvane_server.h"

namespace Lab::Testing {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

constexpr const char* kConnect = "CONNECT /sdkTunnel HTTP/1.1\r\nHost: localhost:443\r\n\r\n";

Json::Value WithConnectionFault(const char* kind) {
  Json::Value config = KelvaneServer::UsualConfig();
  config["connectionFaults"][0]["kind"] = kind;
  return config;
}

TEST(Connections, ShowTheAnnouncedCertificate) {
  const KelvaneServer server;
  SoapClient client(server.Port());

  EXPECT_EQ(client.PeerThumbprint(), server.Thumbprint());
  EXPECT_THAT(server.Certificate(), StartsWith("-----BEGIN CERTIFICATE-----\n"));
}

TEST(Connections, EachServerHasACertificateOfItsOwn) {
  EXPECT_NE(KelvaneServer().Thumbprint(), KelvaneServer().Thumbprint());
}

TEST(Connections, ServeRequestAfterRequest) {
  const KelvaneServer server;
  SoapClient client(server.Port());
  client.Call(RetrieveContent());
  client.Call(RetrieveContent());
  SoapClient(server.Port()).Call(RetrieveContent());

  std::vector<std::string> origins;
  for (const Json::Value& line : server.Events("request")) {
    origins.push_back(line["connection"].asString() + "." + line["request"].asString());
  }
  EXPECT_THAT(origins, ElementsAre("1.1", "1.2", "2.1"));
}

TEST(Connections, EndWhenTheClientWantsIt) {
  const KelvaneServer server;
  SoapClient client(server.Port());
  SoapCall call = RetrieveContent();
  call.headers["Connection"] = "close";

  EXPECT_EQ(client.Call(call).status, 200);
  client.ReadToEnd();
  EXPECT_TRUE(client.EndedInGoodOrder());
}

TEST(Connections, RequestInPiecesIsARequest) {
  const KelvaneServer server;
  const std::string bytes = RetrieveContent().Bytes("");
  SoapClient client(server.Port());
  for (const char c : bytes) client.Write(std::string(1, c));

  EXPECT_EQ(client.Read().status, 200);
}

TEST(Connections, JournalTellsTheBytesOfTheWire) {
  const KelvaneServer server;
  SoapCall call = RetrieveContent();
  call.headers["Connection"] = "close";
  std::size_t answer = 0;
  {
    SoapClient client(server.Port());
    answer = client.Call(call).body.size();
    client.ReadToEnd();
  }

  std::vector<Json::Value> ends = server.Events("connectionEnd");
  while (ends.empty()) ends = server.Events("connectionEnd");
  EXPECT_EQ(ends[0]["requests"].asUInt(), 1u);
  EXPECT_GT(ends[0]["bytesReceived"].asUInt64(), call.Bytes("").size());
  EXPECT_GT(ends[0]["bytesSent"].asUInt64(), answer);
}

TEST(Tunnel, OpensForItsPathAndTlsFollows) {
  const KelvaneServer server;
  SoapClient client(server.Port(), SoapClient::Way::kPlain);
  client.Write(kConnect);

  const HttpReply reply = client.Read();
  EXPECT_EQ(reply.status, 200);
  EXPECT_EQ(reply.head, "HTTP/1.1 200 OK\r\n\r\n");
  client.StartTls();
  EXPECT_EQ(client.PeerThumbprint(), server.Thumbprint());
  EXPECT_EQ(client.Call(RetrieveContent()).status, 200);
  EXPECT_EQ(server.Events("tunnel").at(0)["outcome"].asString(), "answered");
  EXPECT_THAT(server.Refusals(), IsEmpty());
}

struct BadConnect {
  const char* name;
  const char* bytes;
  const char* text;
};
void PrintTo(const BadConnect& row, std::ostream* stream) { *stream << row.name; }

constexpr BadConnect kBadConnects[] = {
    {"OtherPath", "CONNECT /tunnel HTTP/1.1\r\nHost: h:1\r\n\r\n", "Expected the path /sdkTunnel"},
    {"HostInPlaceOfThePath", "CONNECT h:1 HTTP/1.1\r\nHost: h:1\r\n\r\n",
     "Expected the path /sdkTunnel"},
    {"OlderHttp", "CONNECT /sdkTunnel HTTP/1.0\r\nHost: h:1\r\n\r\n", "Expected HTTP/1.1"},
    {"NoHost", "CONNECT /sdkTunnel HTTP/1.1\r\n\r\n", "Expected the header Host: HOST:PORT"},
    {"HostWithoutPort", "CONNECT /sdkTunnel HTTP/1.1\r\nHost: h\r\n\r\n",
     "Expected the header Host: HOST:PORT"},
    {"FurtherHeader", "CONNECT /sdkTunnel HTTP/1.1\r\nHost: h:1\r\nAccept: a\r\n\r\n",
     "Unknown headers"},
    {"BytesTooEarly", "CONNECT /sdkTunnel HTTP/1.1\r\nHost: h:1\r\n\r\nTLS",
     "Bytes behind the request, before its answer"},
    {"PlainPost", "POST /sdk/quenService HTTP/1.1\r\nHost: h:1\r\nContent-Length: 0\r\n\r\n",
     "Expected TLS or CONNECT"},
};

class BadConnects : public ::testing::TestWithParam<BadConnect> {};

TEST_P(BadConnects, AreRefusedAndTheConnectionEnds) {
  const KelvaneServer server;
  SoapClient client(server.Port(), SoapClient::Way::kPlain);
  client.Write(GetParam().bytes);

  EXPECT_THAT(client.ReadToEnd(), StartsWith("HTTP/1.1 400 Bad Request\r\n"));
  EXPECT_THAT(server.Refusals(), ElementsAre(GetParam().text));
}

INSTANTIATE_TEST_SUITE_P(All, BadConnects, ::testing::ValuesIn(kBadConnects),
                         [](const auto& row) { return row.param.name; });

TEST(Tunnel, HasThePathOfTheDescription) {
  Json::Value config = KelvaneServer::UsualConfig();
  config["tunnelPath"] = "/other";
  const KelvaneServer server(config);
  SoapClient client(server.Port(), SoapClient::Way::kPlain);
  client.Write("CONNECT /other HTTP/1.1\r\nHost: h:1\r\n\r\n");

  EXPECT_EQ(client.Read().status, 200);
}

TEST(Tunnel, CanBeOff) {
  Json::Value config = KelvaneServer::UsualConfig();
  config["tunnelPath"] = "";
  const KelvaneServer server(config);
  SoapClient client(server.Port(), SoapClient::Way::kPlain);
  client.Write(kConnect);

  EXPECT_THAT(client.ReadToEnd(), StartsWith("HTTP/1.1 400 "));
  EXPECT_THAT(server.Refusals(), ElementsAre("There is no tunnel"));
}

TEST(ConnectionFaults, OtherStatusRefusesTheTunnel) {
  const KelvaneServer server(WithConnectionFault("tunnel"));
  SoapClient client(server.Port(), SoapClient::Way::kPlain);
  client.Write(kConnect);

  EXPECT_THAT(client.ReadToEnd(), StartsWith("HTTP/1.1 503 Service Unavailable\r\n"));
  EXPECT_THAT(server.Refusals(), IsEmpty());
}

TEST(ConnectionFaults, StatusOfClassTwoOpensTheTunnel) {
  Json::Value config = WithConnectionFault("tunnel");
  config["connectionFaults"][0]["status"] = 204;
  const KelvaneServer server(config);
  SoapClient client(server.Port(), SoapClient::Way::kPlain);
  client.Write(kConnect);

  EXPECT_EQ(client.Read().status, 204);
  client.StartTls();
  EXPECT_EQ(client.Call(RetrieveContent()).status, 200);
}

TEST(ConnectionFaults, OtherCertificateIsShown) {
  Json::Value config = WithConnectionFault("certificate");
  config["connectionFaults"][0]["connection"] = 2;
  const KelvaneServer server(config);

  EXPECT_EQ(SoapClient(server.Port()).PeerThumbprint(), server.Thumbprint());
  EXPECT_NE(SoapClient(server.Port()).PeerThumbprint(), server.Thumbprint());
  EXPECT_EQ(SoapClient(server.Port()).PeerThumbprint(), server.Thumbprint());
}

TEST(ConnectionFaults, FromAConnectionOnAllFail) {
  Json::Value config = WithConnectionFault("close");
  config["connectionFaults"][0]["from"] = 2;
  const KelvaneServer server(config);

  EXPECT_NO_THROW(SoapClient{server.Port()});
  EXPECT_ANY_THROW(SoapClient{server.Port()});
  EXPECT_ANY_THROW(SoapClient{server.Port()});
}

TEST(ConnectionFaults, ClosedConnectionEndsBeforeAByte) {
  const KelvaneServer server(WithConnectionFault("close"));
  SoapClient client(server.Port(), SoapClient::Way::kPlain);

  EXPECT_EQ(client.ReadToEnd(), "");
}

TEST(ConnectionFaults, SilentConnectionIsNeverAnswered) {
  KelvaneServer server(WithConnectionFault("silence"));
  SoapClient client(server.Port(), SoapClient::Way::kPlain);
  client.Write(kConnect);
  server.Stop();

  EXPECT_EQ(client.ReadToEnd(), "");
}

}  // namespace
}  // namespace Lab::Testing
