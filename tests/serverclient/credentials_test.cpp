#include "serverclient/credentials.h"

#include "client_test.h"

namespace Halvard::ServerClient {
namespace {

using testing::AllOf;
using testing::Each;
using testing::ElementsAre;
using testing::Field;
using testing::HasSubstr;
using Testing::InfoLine;
using testing::IsEmpty;
using Testing::LogLine;
using testing::Not;
using Testing::OwnLog;
using testing::StartsWith;
using Testing::WarningLine;
using Tunrak::Testing::ConnectionScript;
using Tunrak::Testing::Ending;
using Tunrak::Testing::ScriptedServer;
using Zelmo::Testing::FaultAnswer;

class Credentials : public ClientTest {
 protected:
  static bool Validate(const ScriptedServer& server, const std::string& tunnelPath = "") {
    return ValidateKvAdminCredentials("127.0.0.1", server.Port(), tunnelPath, server.Thumbprint(),
                                      kUser, kPassword);
  }

  /// The two lines of a failure; none of them has the password.
  static void ExpectFailure(const ScriptedServer& server, const std::wstring& reason) {
    EXPECT_THAT(OwnLog(),
                ElementsAre(WarningLine(L"ValidateKvAdminCredentials: " + reason),
                            WarningLine(L"ValidateKvAdminCredentials: Failed to validate KV "
                                        L"credentials." +
                                        Destination(server) + L".")));
  }
};

TEST_F(Credentials, GoodOnesLogInAndOut) {
  ScriptedServer server({UsualContent(), LoginAnswer(), LogoutAnswer()});
  EXPECT_TRUE(Validate(server));
  EXPECT_THAT(Contents(server), ElementsAre(ContentRequest(), LoginRequest(), LogoutRequest()));
  EXPECT_THAT(server.Requests(), Each(StartsWith("POST /sdk/quenService HTTP/1.1\r\n")));
  EXPECT_THAT(server.Requests()[1], Not(HasSubstr("Cookie")));
  EXPECT_THAT(server.Requests()[2], HasSubstr("\r\nCookie: zelmo_session=\"s1\"\r\n"));
  EXPECT_EQ(server.Connections(), 1);
  EXPECT_THAT(OwnLog(), ElementsAre(InfoLine(L"ValidateKvAdminCredentials: Successfully validated "
                                             L"KV credentials for" +
                                             Destination(server) + L".")));
}

TEST_F(Credentials, TunnelPathSelectsTheTunnel) {
  ConnectionScript script{{UsualContent(), LoginAnswer(), LogoutAnswer()}};
  script.tunnelAnswer = "HTTP/1.1 200 OK\r\n\r\n";
  ScriptedServer server(std::vector{script});
  EXPECT_TRUE(Validate(server, "/sdkTunnel"));
  EXPECT_THAT(server.TunnelRequests(),
              ElementsAre("CONNECT /sdkTunnel HTTP/1.1\r\nHost: " + server.Address() + "\r\n\r\n"));
  EXPECT_THAT(OwnLog(), ElementsAre(InfoLine(L"ValidateKvAdminCredentials: Successfully validated "
                                             L"KV credentials for" +
                                             Destination(server, L"/sdkTunnel") + L".")));
}

TEST_F(Credentials, HostIsTunnelEndPointAndTlsPeer) {
  ConnectionScript script{{UsualContent(), LoginAnswer(), LogoutAnswer()}};
  script.tunnelAnswer = "HTTP/1.1 200 OK\r\n\r\n";
  ScriptedServer server(std::vector{script});
  EXPECT_TRUE(ValidateKvAdminCredentials("localhost", server.Port(), "/sdkTunnel",
                                         server.Thumbprint(), kUser, kPassword));
  EXPECT_THAT(server.TunnelRequests(),
              ElementsAre(HasSubstr("\r\nHost: localhost:" + std::to_string(server.Port()))));
  EXPECT_THAT(server.ServerNames(), ElementsAre("localhost"));
}

TEST_F(Credentials, WrongPasswordIsAFailure) {
  ScriptedServer server({UsualContent(), FaultAnswer("InvalidLogin", "Cannot complete login.")});
  EXPECT_FALSE(Validate(server));
  ExpectFailure(server,
                L"Login on " + Wide(server) + L" failed: InvalidLogin: Cannot complete login.");
  server.Finish();
  EXPECT_EQ(server.StrayBytes(), "");
}

TEST_F(Credentials, FailedLogoutIsAFailure) {
  ScriptedServer server({UsualContent(), LoginAnswer(), FaultAnswer("NotAuthenticated", "Who?")});
  EXPECT_FALSE(Validate(server));
  ExpectFailure(server, L"Logout on " + Wide(server) + L" failed: NotAuthenticated: Who?");
}

TEST_F(Credentials, UnreachableHostIsAFailure) {
  ScriptedServer server(std::vector<ConnectionScript>{});
  server.Finish();
  EXPECT_FALSE(Validate(server));
  ExpectFailure(server, L"RetrieveContent on " + Wide(server) + L" failed: Connecting to " +
                            Wide(server) + L" failed: connection refused.");
}

TEST_F(Credentials, NothingIsSentToAServerOfAnotherThumbprint) {
  ScriptedServer server({UsualContent()});
  EXPECT_FALSE(
      ValidateKvAdminCredentials("127.0.0.1", server.Port(), "", "AB:CD", kUser, kPassword));
  ExpectFailure(server, L"RetrieveContent on " + Wide(server) + L" failed: The certificate of " +
                            Wide(server) + L" has the thumbprint " +
                            Utf8ToWide(server.Thumbprint()) + L", not the expected AB:CD.");
  server.Finish();
  EXPECT_THAT(server.Requests(), IsEmpty());
  EXPECT_EQ(server.StrayBytes(), "");
}

TEST_F(Credentials, EmptyThumbprintSwitchesTheCheckOffForTheWholeProcess) {
  const std::vector<std::string> answers{UsualContent(), LoginAnswer(), LogoutAnswer()};
  ScriptedServer server({ConnectionScript{answers}, ConnectionScript{answers}});
  EXPECT_TRUE(ValidateKvAdminCredentials("localhost", server.Port(), "", "", kUser, kPassword));
  EXPECT_EQ(Tunrak::Ssl::GetVerifySSLCertificates(), -1);
  EXPECT_TRUE(
      ValidateKvAdminCredentials("localhost", server.Port(), "", "AB:CD", kUser, kPassword));
}

TEST_F(Credentials, ThumbprintLeavesTheVerifyTypeAlone) {
  ScriptedServer server({UsualContent(), LoginAnswer(), LogoutAnswer()});
  EXPECT_TRUE(Validate(server));
  EXPECT_EQ(Tunrak::Ssl::GetVerifySSLCertificates(), 0);
}

TEST_F(Credentials, ServerWithoutASessionManagerIsAFailure) {
  ScriptedServer server({ContentAnswer("")});
  EXPECT_FALSE(Validate(server));
  ExpectFailure(server, L"Type mismatch: expected SessionManager, found no reference.");
}

TEST_F(Credentials, SessionManagerOfAnotherTypeIsAFailure) {
  for (const char* type : {"Folder", "Stranger"}) {
    machine_.RemoveFile(L"%TEMP%\\halvard.log");
    ScriptedServer server(
        {ContentAnswer("<sessionManager type=\"" + std::string(type) + "\">sm</sessionManager>")});
    EXPECT_FALSE(Validate(server));
    ExpectFailure(server,
                  L"Type mismatch: expected SessionManager, found " + Utf8ToWide(type) + L".");
  }
}

TEST_F(Credentials, RefusedTunnelIsAFailure) {
  ConnectionScript script{{}, Ending::kCut};
  script.tunnelAnswer = "HTTP/1.1 404 Not Found\r\n\r\n";
  script.tls = false;
  ScriptedServer server(std::vector{script});
  EXPECT_FALSE(Validate(server, "/sdkTunnel"));
  EXPECT_THAT(OwnLog()[0].message, HasSubstr(L"Opening the tunnel /sdkTunnel of " + Wide(server) +
                                             L" failed: the proxy answered 404 Not Found."));
}

TEST_F(Credentials, PasswordThatCannotBeSentIsAFailure) {
  ScriptedServer server({UsualContent()});
  EXPECT_FALSE(ValidateKvAdminCredentials("127.0.0.1", server.Port(), "", server.Thumbprint(),
                                          kUser, "secret\x01"));
  ExpectFailure(server, L"Login on " + Wide(server) +
                            L" failed: The password has a character that can't be sent.");
  server.Finish();
  EXPECT_EQ(Contents(server).size(), 1u);
  EXPECT_EQ(server.StrayBytes(), "");
}

TEST_F(Credentials, PortThatIsNoneIsAFailure) {
  EXPECT_FALSE(ValidateKvAdminCredentials("kv.example", 0, "", "AB", "root", kPassword));
  EXPECT_THAT(
      OwnLog(),
      ElementsAre(WarningLine(L"ValidateKvAdminCredentials: Bad port for a connection to "
                              L"kv.example: 0."),
                  WarningLine(L"ValidateKvAdminCredentials: Failed to validate KV credentials. "
                              L"Host:kv.example, Port:0, TunnelPath:, User:root.")));
}

TEST_F(Credentials, AnswerCutAnywhereIsAFailureWithoutThePassword) {
  const std::string login = LoginAnswer();
  for (std::size_t size = 0; size < login.size(); size += 7) {
    machine_.RemoveFile(L"%TEMP%\\halvard.log");
    ScriptedServer server(
        std::vector{ConnectionScript{{UsualContent(), login.substr(0, size)}, Ending::kCut}});
    EXPECT_FALSE(Validate(server)) << size;
    EXPECT_THAT(OwnLog(), AllOf(testing::SizeIs(2),
                                Each(Field(&LogLine::message, Not(HasSubstr(L"pa<ss"))))));
  }
}

}  // namespace
}  // namespace Halvard::ServerClient
