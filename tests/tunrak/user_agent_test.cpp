#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>

#include "no_descriptors.h"
#include "scripted_server.h"
#include "test_certificate.h"
#include "tls_faults.h"
#include "tunrak/exception.h"
#include "tunrak/http.h"
#include "tunrak/ssl.h"

namespace Tunrak::Http {
namespace {

using std::chrono::milliseconds;
using testing::AllOf;
using Testing::ConnectionScript;
using testing::ElementsAre;
using Testing::Ending;
using testing::EndsWith;
using testing::HasSubstr;
using Testing::HttpAnswer;
using testing::IsEmpty;
using Testing::ScriptedServer;
using testing::SizeIs;
using testing::StartsWith;

const std::string kOk = HttpAnswer("200 OK", "<a/>");

/// \return The text of the exception that the call ends in; empty if there was none.
std::string FailureOf(const std::function<void()>& call) {
  try {
    call();
  } catch (const Exception& failure) {
    return failure.what();
  }
  return {};
}

struct Way {
  std::string host = "127.0.0.1";
  std::string tunnelPath;
  std::string thumbprint;
  milliseconds idleLimit = kIdleLimit;
};

std::shared_ptr<UserAgent> MakeAgent(const ScriptedServer& server, const Way& way) {
  auto spec = CreateTCPConnectionSpec(way.host, server.Port(), false, way.idleLimit);
  if (!way.tunnelPath.empty()) spec = CreateTunneledConnectionSpec(spec, way.host, way.tunnelPath);
  const auto context = Ssl::CreateSSLContext(Crypto::CreateKeyStore("", "", {}), 0);
  return CreateHttpUserAgent(CreateSSLConnectionSpec(spec, context, way.host, way.thumbprint));
}

std::shared_ptr<UserAgent> MakeAgent(const ScriptedServer& server) {
  Way way;
  way.thumbprint = server.Thumbprint();
  return MakeAgent(server, way);
}

Request MakeRequest() {
  return {"/sdk/quenService", {{"Content-Type", "text/xml"}, {"SOAPAction", "\"urn:x\""}}, "<b/>"};
}

std::string ContentOf(const Response& response) {
  return {response.content.begin(), response.content.end()};
}

class UserAgentTest : public testing::Test {
 protected:
  UserAgentTest() { Ssl::SetVerifySSLCertificates(Ssl::kVerifyDefault); }
  ~UserAgentTest() override { Ssl::SetVerifySSLCertificates(Ssl::kVerifyDefault); }
};

TEST_F(UserAgentTest, RequestIsTheseBytes) {
  ScriptedServer server({kOk});
  const Response response = MakeAgent(server)->Post(MakeRequest());
  EXPECT_EQ(response.status, 200u);
  EXPECT_EQ(response.reason, "OK");
  EXPECT_EQ(response.contentType, "text/xml; charset=utf-8");
  EXPECT_EQ(ContentOf(response), "<a/>");
  EXPECT_THAT(server.Requests(), ElementsAre("POST /sdk/quenService HTTP/1.1\r\n"
                                             "Host: " +
                                             server.Address() +
                                             "\r\n"
                                             "User-Agent: tunrak/6.0\r\n"
                                             "Content-Type: text/xml\r\n"
                                             "SOAPAction: \"urn:x\"\r\n"
                                             "Content-Length: 4\r\n"
                                             "\r\n"
                                             "<b/>"));
}

TEST_F(UserAgentTest, OneConnectionServesAllRequests) {
  ScriptedServer server({kOk, kOk, kOk});
  const auto agent = MakeAgent(server);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(agent->Post(MakeRequest()).status, 200u);
  EXPECT_EQ(server.Connections(), 1);
  EXPECT_THAT(server.Requests(), SizeIs(3));
}

TEST_F(UserAgentTest, AnswerMayComeInChunks) {
  ScriptedServer server(
      {"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n2\r\n<a\r\n"
       "2\r\n/>\r\n0\r\n\r\n"});
  EXPECT_EQ(ContentOf(MakeAgent(server)->Post(MakeRequest())), "<a/>");
}

TEST_F(UserAgentTest, AnswerWithoutALengthEndsWithAGoodbyeAlone) {
  const std::string answer = "HTTP/1.1 200 OK\r\n\r\n<a/>";
  ScriptedServer server(
      {ConnectionScript{{answer}, Ending::kGoodbye}, ConnectionScript{{answer}, Ending::kCut}});
  const auto agent = MakeAgent(server);
  EXPECT_EQ(ContentOf(agent->Post(MakeRequest())), "<a/>");
  EXPECT_THAT(FailureOf([&] { agent->Post(MakeRequest()); }), HasSubstr("closed by the peer"));
}

TEST_F(UserAgentTest, EachOfTheCookiesIsHandedOut) {
  ScriptedServer server(
      {"HTTP/1.1 200 OK\r\nSet-Cookie: a=1; Path=/\r\nSet-Cookie: b=\"2\"\r\n"
       "Content-Length: 0\r\n\r\n"});
  EXPECT_THAT(MakeAgent(server)->Post(MakeRequest()).cookies,
              ElementsAre("a=1; Path=/", "b=\"2\""));
}

// Connections that end.

TEST_F(UserAgentTest, KeptConnectionThatIsClosedIsOpenedAnew) {
  for (const Ending ending : {Ending::kGoodbye, Ending::kCut}) {
    ScriptedServer server({ConnectionScript{{kOk}, ending}, ConnectionScript{{kOk}}});
    const auto agent = MakeAgent(server);
    EXPECT_EQ(agent->Post(MakeRequest()).status, 200u);
    EXPECT_EQ(agent->Post(MakeRequest()).status, 200u);
    EXPECT_EQ(server.Connections(), 2);
  }
}

TEST_F(UserAgentTest, KeptConnectionIsOpenedAnewOnceOnly) {
  ScriptedServer server({ConnectionScript{{kOk}, Ending::kGoodbye},
                         ConnectionScript{{""}, Ending::kGoodbye}, ConnectionScript{{kOk}}});
  const auto agent = MakeAgent(server);
  EXPECT_EQ(agent->Post(MakeRequest()).status, 200u);
  EXPECT_EQ(FailureOf([&] { agent->Post(MakeRequest()); }),
            "The request to " + server.Address() +
                "/sdk/quenService failed: connection closed by the peer without an answer.");
  EXPECT_EQ(server.Connections(), 2);
}

TEST_F(UserAgentTest, FreshConnectionIsNotOpenedAnew) {
  ScriptedServer server({ConnectionScript{{""}, Ending::kGoodbye}, ConnectionScript{{kOk}}});
  const auto agent = MakeAgent(server);
  EXPECT_THAT(FailureOf([&] { agent->Post(MakeRequest()); }), HasSubstr("without an answer"));
  EXPECT_EQ(server.Connections(), 1);
}

TEST_F(UserAgentTest, RequestWhoseAnswerHasBegunIsNotSentAgain) {
  ScriptedServer server({ConnectionScript{{kOk, "H"}, Ending::kGoodbye}, ConnectionScript{{kOk}}});
  const auto agent = MakeAgent(server);
  EXPECT_EQ(agent->Post(MakeRequest()).status, 200u);
  EXPECT_THAT(FailureOf([&] { agent->Post(MakeRequest()); }), HasSubstr("closed by the peer"));
  EXPECT_EQ(server.Connections(), 1);
}

TEST_F(UserAgentTest, ConnectionThatTheServerGivesUpIsNotKept) {
  ScriptedServer server(
      {ConnectionScript{{"HTTP/1.1 200 OK\r\nConnection: close\r\nContent-Length: 0\r\n\r\n"}},
       ConnectionScript{{kOk}}});
  const auto agent = MakeAgent(server);
  EXPECT_EQ(agent->Post(MakeRequest()).status, 200u);
  EXPECT_EQ(agent->Post(MakeRequest()).status, 200u);
  EXPECT_EQ(server.Connections(), 2);
}

TEST_F(UserAgentTest, AnswerCutAnywhereFails) {
  std::vector<ConnectionScript> script;
  for (std::size_t size = 0; size < kOk.size(); ++size) {
    script.push_back({{kOk.substr(0, size)}, size % 2 == 0 ? Ending::kGoodbye : Ending::kCut});
  }
  script.push_back({{kOk}});
  ScriptedServer server(script);
  const auto agent = MakeAgent(server);
  for (std::size_t size = 0; size < kOk.size(); ++size) {
    EXPECT_THAT(FailureOf([&] { agent->Post(MakeRequest()); }), HasSubstr("closed by the peer"))
        << size;
  }
  EXPECT_EQ(agent->Post(MakeRequest()).status, 200u);
}

TEST_F(UserAgentTest, WhatIsNoHttpFails) {
  for (const char* answer : {"garbage\r\n\r\n", "HTTP/1.1 abc\r\n\r\n", "HTTP/3 200 OK\r\n\r\n",
                             "HTTP/1.1 200 OK\r\nContent-Length: x\r\n\r\n",
                             "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\nZ\r\n"}) {
    ScriptedServer server({ConnectionScript{{answer}, Ending::kGoodbye}});
    const auto agent = MakeAgent(server);
    EXPECT_THAT(FailureOf([&] { agent->Post(MakeRequest()); }),
                StartsWith("The request to " + server.Address() + "/sdk/quenService failed: "))
        << answer;
  }
}

TEST_F(UserAgentTest, AnnouncedContentOverTheLimitIsNotRead) {
  ScriptedServer server({"HTTP/1.1 200 OK\r\nContent-Length: 67108865\r\n\r\n"});
  EXPECT_THAT(FailureOf([&] { MakeAgent(server)->Post(MakeRequest()); }),
              HasSubstr("answer too large"));
}

TEST_F(UserAgentTest, UnannouncedContentOverTheLimitIsGivenUp) {
  std::string answer = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n4000001\r\n";
  answer.append(kContentLimit + 1, 'x');
  ScriptedServer server({answer + "\r\n0\r\n\r\n"});
  EXPECT_THAT(FailureOf([&] { MakeAgent(server)->Post(MakeRequest()); }),
              HasSubstr("answer too large"));
}

TEST_F(UserAgentTest, HeaderOverTheLimitIsGivenUp) {
  ScriptedServer server({"HTTP/1.1 200 OK\r\nX: " + std::string(70000, 'x') + "\r\n\r\n"});
  EXPECT_THAT(FailureOf([&] { MakeAgent(server)->Post(MakeRequest()); }),
              HasSubstr("answer's header too large"));
}

// Peers that are silent.

TEST_F(UserAgentTest, PeerThatIsSilentInTheHandshakeIsGivenUp) {
  ConnectionScript silent;
  silent.silent = true;
  ScriptedServer server(std::vector{silent});
  Way way;
  way.idleLimit = milliseconds(20);
  const auto agent = MakeAgent(server, way);
  EXPECT_EQ(FailureOf([&] { agent->Post(MakeRequest()); }),
            "TLS handshake with " + server.Address() + " failed: timed out.");
}

TEST_F(UserAgentTest, PeerThatIsSilentInTheTunnelIsGivenUp) {
  ConnectionScript silent;
  silent.silent = true;
  ScriptedServer server(std::vector{silent});
  Way way;
  way.tunnelPath = "/sdkTunnel";
  way.idleLimit = milliseconds(20);
  const auto agent = MakeAgent(server, way);
  EXPECT_EQ(FailureOf([&] { agent->Post(MakeRequest()); }),
            "Opening the tunnel /sdkTunnel of " + server.Address() + " failed: timed out.");
}

TEST_F(UserAgentTest, PeerThatIsSilentWithinAnAnswerIsGivenUp) {
  ScriptedServer server({kOk.substr(0, 30)});
  Way way;
  way.thumbprint = server.Thumbprint();
  way.idleLimit = milliseconds(200);
  const auto agent = MakeAgent(server, way);
  EXPECT_EQ(FailureOf([&] { agent->Post(MakeRequest()); }),
            "The request to " + server.Address() + "/sdk/quenService failed: timed out.");
  EXPECT_EQ(kIdleLimit, std::chrono::seconds(120));
}

// Who the server is.

TEST_F(UserAgentTest, ThumbprintIsComparedWithoutRegardToCase) {
  ScriptedServer server({ConnectionScript{{kOk}}, ConnectionScript{{kOk}}});
  Way way;
  way.thumbprint = server.Thumbprint();
  EXPECT_EQ(MakeAgent(server, way)->Post(MakeRequest()).status, 200u);
  for (char& c : way.thumbprint) c = static_cast<char>(std::tolower(c));
  EXPECT_EQ(MakeAgent(server, way)->Post(MakeRequest()).status, 200u);
}

TEST_F(UserAgentTest, NothingIsSentToAServerOfAnotherThumbprint) {
  for (const std::string& thumbprint :
       {std::string("00:11:22"), std::string(59, 'A'), std::string("x")}) {
    ScriptedServer server({kOk});
    Way way;
    way.thumbprint = thumbprint;
    EXPECT_EQ(FailureOf([&] { MakeAgent(server, way)->Post(MakeRequest()); }),
              "The certificate of " + server.Address() + " has the thumbprint " +
                  server.Thumbprint() + ", not the expected " + thumbprint + ".");
    server.Finish();
    EXPECT_EQ(server.Connections(), 1);
    EXPECT_THAT(server.Requests(), IsEmpty());
    EXPECT_EQ(server.StrayBytes(), "");
  }
}

TEST_F(UserAgentTest, VerifyTypeNoneChecksNobody) {
  Ssl::SetVerifySSLCertificates(Ssl::kVerifyNone);
  ScriptedServer server({ConnectionScript{{kOk}}, ConnectionScript{{kOk}}});
  Way way;
  EXPECT_EQ(MakeAgent(server, way)->Post(MakeRequest()).status, 200u);
  way.thumbprint = "00:11:22";
  EXPECT_EQ(MakeAgent(server, way)->Post(MakeRequest()).status, 200u);
}

TEST_F(UserAgentTest, VerifyTypeHoldsForContextsThatExistAlready) {
  ScriptedServer server({kOk});
  const auto agent = MakeAgent(server, {});
  Ssl::SetVerifySSLCertificates(Ssl::kVerifyNone);
  EXPECT_EQ(agent->Post(MakeRequest()).status, 200u);
}

TEST_F(UserAgentTest, WithoutAThumbprintTheSystemMustTrustTheServer) {
  ScriptedServer server({kOk});
  EXPECT_EQ(FailureOf([&] { MakeAgent(server, {})->Post(MakeRequest()); }),
            "TLS handshake with " + server.Address() +
                " failed: the certificate isn't trusted: self-signed certificate.");
  server.Finish();
  EXPECT_THAT(server.Requests(), IsEmpty());
}

TEST_F(UserAgentTest, WithoutAThumbprintTheCertificateMustBeForTheHost) {
  const pion_test::temporary_folder folder;
  ScriptedServer server({ConnectionScript{{kOk}}, ConnectionScript{{kOk}}});
  setenv("SSL_CERT_FILE", folder.write("trusted.pem", server.Certificate()).c_str(), 1);
  Way way;
  way.host = "localhost";
  EXPECT_EQ(MakeAgent(server, way)->Post(MakeRequest()).status, 200u);
  EXPECT_THAT(FailureOf([&] { MakeAgent(server, {})->Post(MakeRequest()); }),
              EndsWith("the certificate isn't trusted: IP address mismatch."));
  unsetenv("SSL_CERT_FILE");
}

TEST_F(UserAgentTest, ServerIsAskedForByNameButNotByAddress) {
  Ssl::SetVerifySSLCertificates(Ssl::kVerifyNone);
  ScriptedServer server({ConnectionScript{{kOk}}, ConnectionScript{{kOk}}});
  Way way;
  way.host = "localhost";
  EXPECT_EQ(MakeAgent(server, way)->Post(MakeRequest()).status, 200u);
  EXPECT_EQ(MakeAgent(server, {})->Post(MakeRequest()).status, 200u);
  EXPECT_THAT(server.ServerNames(), ElementsAre("localhost", ""));
}

TEST_F(UserAgentTest, PeerThatSpeaksNoTlsFails) {
  ConnectionScript plain;
  plain.tunnelAnswer = "HTTP/1.1 400 Bad Request\r\n\r\n";
  ScriptedServer server({ConnectionScript{{}, Ending::kCut, std::nullopt, false}});
  EXPECT_EQ(FailureOf([&] { MakeAgent(server, {})->Post(MakeRequest()); }),
            "TLS handshake with " + server.Address() + " failed: connection closed by the peer.");
}

TEST_F(UserAgentTest, PortWithoutAServerIsRefused) {
  ScriptedServer server(std::vector<ConnectionScript>{});
  server.Finish();
  EXPECT_EQ(FailureOf([&] { MakeAgent(server, {})->Post(MakeRequest()); }),
            "Connecting to " + server.Address() + " failed: connection refused.");
}

TEST_F(UserAgentTest, UnknownHostIsNamed) {
  ScriptedServer server(std::vector<ConnectionScript>{});
  Way way;
  way.host = "no-such-host.invalid";
  EXPECT_THAT(FailureOf([&] { MakeAgent(server, way)->Post(MakeRequest()); }),
              AllOf(StartsWith("Connecting to no-such-host.invalid:"), HasSubstr("host")));
}

TEST_F(UserAgentTest, ProcessWithoutADescriptorLeftCannotConnect) {
  ScriptedServer server({kOk});
  const auto agent = MakeAgent(server);
  {
    const pion_test::NoDescriptors none;
    EXPECT_EQ(FailureOf([&] { agent->Post(MakeRequest()); }),
              "Connecting to " + server.Address() + " failed: too many descriptors are open.");
  }
  EXPECT_EQ(agent->Post(MakeRequest()).status, 200u);
}

TEST_F(UserAgentTest, TlsThatCannotBeginIsAFailure) {
  ScriptedServer server({kOk});
  const auto agent = MakeAgent(server);
  const Testing::TlsFault fault("SSL_new");
  EXPECT_THAT(FailureOf([&] { agent->Post(MakeRequest()); }),
              StartsWith("Connecting to " + server.Address() + " failed: "));
}

// The tunnel.

ConnectionScript Tunnelled(const std::string& tunnelAnswer, std::vector<std::string> answers) {
  ConnectionScript script{std::move(answers)};
  script.tunnelAnswer = tunnelAnswer;
  return script;
}

TEST_F(UserAgentTest, TunnelIsAskedForInTheClearAndTlsRunsInside) {
  ScriptedServer server(
      std::vector{Tunnelled("HTTP/1.1 200 Connection Established\r\n\r\n", {kOk})});
  Way way;
  way.tunnelPath = "/sdkTunnel";
  way.thumbprint = server.Thumbprint();
  EXPECT_EQ(MakeAgent(server, way)->Post(MakeRequest()).status, 200u);
  EXPECT_THAT(server.TunnelRequests(),
              ElementsAre("CONNECT /sdkTunnel HTTP/1.1\r\nHost: " + server.Address() + "\r\n\r\n"));
  EXPECT_THAT(server.Requests(), ElementsAre(StartsWith("POST /sdk/quenService HTTP/1.1\r\nHost: " +
                                                        server.Address() + "\r\n")));
}

TEST_F(UserAgentTest, AnyAnswerOfTheSecondClassOpensTheTunnel) {
  for (const char* answer : {"HTTP/1.1 202 Accepted\r\nContent-Length: 5\r\n\r\n",
                             "HTTP/1.0 299 \r\nTransfer-Encoding: chunked\r\n\r\n"}) {
    ScriptedServer server(std::vector{Tunnelled(answer, {kOk})});
    Way way;
    way.tunnelPath = "/sdkTunnel";
    way.thumbprint = server.Thumbprint();
    EXPECT_EQ(MakeAgent(server, way)->Post(MakeRequest()).status, 200u) << answer;
  }
}

TEST_F(UserAgentTest, AnyOtherAnswerRefusesTheTunnel) {
  const std::pair<const char*, const char*> kAnswers[] = {
      {"HTTP/1.1 404 Not Found\r\n\r\n", "the proxy answered 404 Not Found."},
      {"HTTP/1.1 100 Continue\r\n\r\n", "the proxy answered 100 Continue."},
      {"HTTP/1.1 302 Found\r\nLocation: /x\r\n\r\n", "the proxy answered 302 Found."},
      {"HTTP/1.1 200 OK\r\n\r\nx", "the server spoke before it was spoken to."},
      {"rubbish\r\n\r\n", "bad version."},
      {"HTTP/1.1 200 OK\r\n", "connection closed by the peer within the answer."},
      {"", "connection closed by the peer."},
  };
  for (const auto& [answer, reason] : kAnswers) {
    ConnectionScript script = Tunnelled(answer, {});
    script.tls = false;
    script.ending = Ending::kCut;
    ScriptedServer server(std::vector{script});
    Way way;
    way.tunnelPath = "/sdkTunnel";
    EXPECT_EQ(FailureOf([&] { MakeAgent(server, way)->Post(MakeRequest()); }),
              "Opening the tunnel /sdkTunnel of " + server.Address() + " failed: " + reason);
  }
}

// What can't be a connection at all.

TEST(ConnectionSpec, PortsThatAreNoneAreRefused) {
  for (const int port : {-1, 0, 65536}) {
    EXPECT_EQ(FailureOf([&] { CreateTCPConnectionSpec("kv", port, false); }),
              "Bad port for a connection to kv: " + std::to_string(port) + ".");
  }
  EXPECT_EQ(CreateTCPConnectionSpec("kv", 65535, false)->Peer(), "kv:65535");
}

TEST(ConnectionSpec, AddressOfTheSixthVersionStandsInBrackets) {
  const auto spec = CreateTCPConnectionSpec("2001:db8::1", 443, true);
  EXPECT_EQ(spec->Peer(), "[2001:db8::1]:443");
  EXPECT_EQ(CreateTunneledConnectionSpec(spec, "2001:db8::2", "/t")->Peer(), "[2001:db8::2]:443");
}

TEST(ConnectionSpec, TextsThatWouldBreakARequestAreRefused) {
  for (const std::string host : {"", "a b", "a\r\nb", "a\tb"}) {
    EXPECT_THAT(FailureOf([&] { CreateTCPConnectionSpec(host, 1, false); }),
                StartsWith("Bad host for a connection"));
  }
  const auto spec = CreateTCPConnectionSpec("kv", 443, false);
  EXPECT_THAT(FailureOf([&] { CreateTunneledConnectionSpec(spec, "kv", "/a b"); }),
              StartsWith("Bad tunnel path for a connection"));
}

}  // namespace
}  // namespace Tunrak::Http
