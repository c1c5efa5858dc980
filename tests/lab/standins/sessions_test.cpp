// Logging in, being logged in, and ceasing to be.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "standins/soap_client.h"
#include "support/kelvane_server.h"

namespace Lab::Testing {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

SoapCall Find() { return {"FindExtension", "ExtensionManager", "<extensionKey>k</extensionKey>"}; }

std::vector<std::string> States(const KelvaneServer& server) {
  std::vector<std::string> states;
  for (const Json::Value& line : server.Events("session")) {
    states.push_back(line["session"].asString() + " " + line["state"].asString());
  }
  return states;
}

Json::Value WithLifetime(const char* unit, const Json::Value& value) {
  Json::Value config = KelvaneServer::UsualConfig();
  config["session"][unit] = value;
  return config;
}

class SessionsTest : public ::testing::Test {
 protected:
  static HttpReply LogIn(SoapClient& client) {
    return client.Login(KelvaneServer::kUser, KelvaneServer::kPassword);
  }
};

TEST_F(SessionsTest, ContentNamesTheManagersWithoutALogin) {
  const KelvaneServer server;
  SoapClient client(server.Port());

  const HttpReply reply = client.Call(RetrieveContent());

  EXPECT_EQ(reply.status, 200);
  EXPECT_THAT(reply.body,
              HasSubstr("<RetrieveContentResponse xmlns=\"urn:quen25\"><result>"
                        "<rootFolder type=\"Folder\">group-d1</rootFolder>"
                        "<propertyCollector type=\"PropertyCollector\">PropertyCollector"
                        "</propertyCollector><sessionManager type=\"SessionManager\">"
                        "SessionManager</sessionManager><extensionManager "
                        "type=\"ExtensionManager\">ExtensionManager</extensionManager></result>"
                        "</RetrieveContentResponse>"));
  EXPECT_THAT(reply.head, HasSubstr("\r\nContent-Type: text/xml; charset=utf-8\r\n"));
  EXPECT_THAT(reply.head, Not(HasSubstr("Set-Cookie")));
}

TEST_F(SessionsTest, ManagersCanBeMissing) {
  Json::Value config = KelvaneServer::UsualConfig();
  config["content"]["sessionManager"] = false;
  config["content"]["extensionManager"] = false;
  const KelvaneServer server(config);
  SoapClient client(server.Port());

  const HttpReply content = client.Call(RetrieveContent());

  EXPECT_THAT(content.Elements("sessionManager"), IsEmpty());
  EXPECT_THAT(content.Elements("extensionManager"), IsEmpty());
  EXPECT_EQ(LogIn(client).Fault(), "ManagedObjectNotFound");
  EXPECT_EQ(client.Call(Find()).Fault(), "ManagedObjectNotFound");
}

TEST_F(SessionsTest, IdsOfTheManagersCanBeOthers) {
  Json::Value config = KelvaneServer::UsualConfig();
  config["content"]["idSuffix"] = "-7";
  const KelvaneServer server(config);
  SoapClient client(server.Port());
  SoapCall login = Login(KelvaneServer::kUser, KelvaneServer::kPassword);

  EXPECT_EQ(client.Call(RetrieveContent()).Element("sessionManager"), "SessionManager-7");
  EXPECT_EQ(client.Call(login).Fault(), "ManagedObjectNotFound");
  login.selfId = "SessionManager-7";
  EXPECT_EQ(client.Call(login).status, 200);
}

TEST_F(SessionsTest, LoginSetsTheCookieAndTellsTheSession) {
  const KelvaneServer server;
  SoapClient client(server.Port());

  const HttpReply reply = LogIn(client);

  EXPECT_EQ(reply.status, 200);
  EXPECT_THAT(reply.head, HasSubstr("\r\nSet-Cookie: zelmo_session=\""));
  EXPECT_THAT(reply.head, HasSubstr("\"; Path=/; Secure; HttpOnly\r\n"));
  EXPECT_EQ(Xml("userName", KelvaneServer::kUser),
            "<userName>" + reply.Element("userName") + "</userName>");
  EXPECT_EQ(reply.Element("locale"), "en");
  EXPECT_THAT(reply.Element("loginTime"),
              ::testing::MatchesRegex("[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9:]{8}[.][0-9]{3}Z"));
  EXPECT_THAT(server.Refusals(), IsEmpty());
}

TEST_F(SessionsTest, WrongPasswordOrUserIsAFaultButNoMistake) {
  const KelvaneServer server;
  SoapClient client(server.Port());
  const std::string password = KelvaneServer::kPassword;

  for (const HttpReply& reply :
       {client.Login(KelvaneServer::kUser, "wrong"), client.Login("nobody", password),
        client.Login(KelvaneServer::kUser, password.substr(1)),
        client.Login(KelvaneServer::kUser, "")}) {
    EXPECT_EQ(reply.status, 500);
    EXPECT_EQ(reply.Element("faultcode"), "soapenv:Server");
    EXPECT_EQ(reply.Element("faultstring"),
              "Cannot complete login due to an incorrect user name or password.");
    EXPECT_EQ(reply.Fault(), "InvalidLogin");
  }
  EXPECT_EQ(client.Cookie(), "");
  EXPECT_THAT(server.Refusals(), IsEmpty());
  EXPECT_THAT(States(server), IsEmpty());
}

TEST_F(SessionsTest, WithoutALoginNothingElseIsServed) {
  const KelvaneServer server;
  SoapClient client(server.Port());

  EXPECT_EQ(client.Call(Find()).Fault(), "NotAuthenticated");
  EXPECT_EQ(client.Call(Logout()).Fault(), "NotAuthenticated");
  EXPECT_THAT(server.Refusals(),
              ElementsAre("The request has no session.", "The request has no session."));
}

TEST_F(SessionsTest, CookieMustBeOneThatWasGivenOut) {
  const KelvaneServer server;
  SoapClient client(server.Port());
  client.SetCookie("zelmo_session=\"1234\"");
  EXPECT_EQ(client.Call(Find()).Fault(), "NotAuthenticated");
  LogIn(client);
  const std::string cookie = client.Cookie();
  std::string unquoted = cookie;
  unquoted.erase(std::remove(unquoted.begin(), unquoted.end(), '"'), unquoted.end());
  for (const std::string& other : {unquoted, "a=b; " + cookie, cookie + "; Path=/"}) {
    client.SetCookie(other);
    EXPECT_EQ(client.Call(Find()).Fault(), "NotAuthenticated") << other;
  }
  client.SetCookie(cookie);
  EXPECT_EQ(client.Call(Find()).status, 200);
  EXPECT_EQ(server.Refusals().size(), 4u);
}

TEST_F(SessionsTest, LogoutEndsTheSession) {
  KelvaneServer server;
  SoapClient client(server.Port());
  LogIn(client);

  EXPECT_EQ(client.Call(Logout()).status, 200);
  EXPECT_EQ(client.Call(Find()).Fault(), "NotAuthenticated");

  EXPECT_THAT(States(server), ElementsAre("1 opened", "1 loggedOut"));
  EXPECT_THAT(server.Refusals(),
              ElementsAre("There is no such session, or it has ended by its logout."));
  server.Stop();
  EXPECT_EQ(server.Events("stop").at(0)["openSessions"].asInt(), 0);
}

TEST_F(SessionsTest, SessionIsOpenAtTheEndIfNobodyLogsOut) {
  KelvaneServer server;
  SoapClient client(server.Port());
  LogIn(client);
  server.Stop();

  EXPECT_EQ(server.Events("stop").at(0)["openSessions"].asInt(), 1);
}

TEST_F(SessionsTest, SessionServesItsRequestsAndExpires) {
  const KelvaneServer server(WithLifetime("requests", 2));
  SoapClient client(server.Port());
  LogIn(client);

  EXPECT_EQ(client.Call(Find()).status, 200);
  EXPECT_EQ(client.Call(Find()).status, 200);
  for (int i = 0; i < 2; ++i) {
    const HttpReply reply = client.Call(Find());
    EXPECT_EQ(reply.Fault(), "NotAuthenticated");
    EXPECT_EQ(reply.Element("faultcode"), "soapenv:Server");
    EXPECT_EQ(reply.Element("faultstring"), "The session has expired.");
  }
  EXPECT_THAT(States(server), ElementsAre("1 opened", "1 expired"));
  EXPECT_THAT(server.Refusals(), IsEmpty());
}

TEST_F(SessionsTest, SessionExpiresWithTime) {
  const KelvaneServer server(WithLifetime("seconds", 0));
  SoapClient client(server.Port());
  LogIn(client);

  EXPECT_EQ(client.Call(Logout()).Fault(), "NotAuthenticated");
  EXPECT_THAT(States(server), ElementsAre("1 opened", "1 expired"));
}

TEST_F(SessionsTest, SessionWithTimeLeftDoesNotExpire) {
  const KelvaneServer server(WithLifetime("seconds", 3600));
  SoapClient client(server.Port());
  LogIn(client);

  EXPECT_EQ(client.Call(Logout()).status, 200);
}

TEST_F(SessionsTest, SessionIsNotBoundToItsConnection) {
  const KelvaneServer server;
  SoapClient first(server.Port());
  LogIn(first);
  SoapClient second(server.Port());
  second.SetCookie(first.Cookie());

  EXPECT_EQ(second.Call(Find()).status, 200);
  EXPECT_EQ(server.Events("request").back()["session"].asInt(), 1);
  EXPECT_EQ(server.Events("request").back()["connection"].asInt(), 2);
}

}  // namespace
}  // namespace Lab::Testing
