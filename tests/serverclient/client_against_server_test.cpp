// The client against the lab's Kelvane Server, which was written from the same page.
#include "client_test.h"
#include "serverclient/credentials.h"
#include "serverclient/inventory_size.h"
#include "serverclient/proxy_port.h"
#include "serverclient/temporary_extension.h"
#include "support/kelvane_server.h"

namespace Halvard::ServerClient {
namespace {

using Lab::KelvaneServer;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using Testing::OwnLog;

class AgainstServer : public ClientTest {
 protected:
  static bool Validate(const KelvaneServer& server, const std::string& tunnelPath,
                       const std::string& password = KelvaneServer::kPassword) {
    return ValidateKvAdminCredentials("127.0.0.1", server.Port(), tunnelPath, server.Thumbprint(),
                                      KelvaneServer::kUser, password);
  }

  static bool GetSize(const KelvaneServer& server, std::int32_t& hosts, std::int32_t& machines) {
    return GetInventorySize("127.0.0.1", server.Port(), "", server.Thumbprint(),
                            KelvaneServer::kUser, KelvaneServer::kPassword, hosts, machines);
  }
};

TEST_F(AgainstServer, CredentialsAreValidatedDirectlyAndThroughTheTunnel) {
  KelvaneServer server;
  EXPECT_TRUE(Validate(server, ""));
  EXPECT_TRUE(Validate(server, "/sdkTunnel"));
  EXPECT_THAT(server.Refusals(), IsEmpty());
  EXPECT_THAT(server.Operations(), ElementsAre("RetrieveContent", "Login", "Logout",
                                               "RetrieveContent", "Login", "Logout"));
}

TEST_F(AgainstServer, WrongPasswordAndWrongTunnelAreRefused) {
  KelvaneServer server;
  EXPECT_FALSE(Validate(server, "", "wrong"));
  EXPECT_THAT(OwnLog()[0].message, HasSubstr(L" failed: InvalidLogin: "));
  EXPECT_FALSE(Validate(server, "/otherTunnel"));
  EXPECT_THAT(OwnLog()[2].message, HasSubstr(L"the proxy answered "));
}

TEST_F(AgainstServer, InventoryIsCounted) {
  KelvaneServer server;
  std::int32_t hosts = 0;
  std::int32_t machines = 0;
  EXPECT_TRUE(GetSize(server, hosts, machines));
  EXPECT_EQ(hosts, 12);
  EXPECT_EQ(machines, 57);
  EXPECT_THAT(server.Refusals(), IsEmpty());
}

TEST_F(AgainstServer, LargeInventoryIsCountedInPages) {
  Json::Value config = KelvaneServer::UsualConfig();
  config["inventory"]["hosts"] = 2500;
  config["inventory"]["machines"] = 3001;
  KelvaneServer server(config);
  std::int32_t hosts = 0;
  std::int32_t machines = 0;
  EXPECT_TRUE(GetSize(server, hosts, machines));
  EXPECT_EQ(hosts, 2500);
  EXPECT_EQ(machines, 3001);
  EXPECT_THAT(
      server.Operations(),
      ElementsAre("RetrieveContent", "Login", "RetrieveProperties", "ContinueRetrieveProperties",
                  "ContinueRetrieveProperties", "RetrieveProperties", "ContinueRetrieveProperties",
                  "ContinueRetrieveProperties", "ContinueRetrieveProperties", "Logout"));
  EXPECT_THAT(server.Refusals(), IsEmpty());
}

TEST_F(AgainstServer, ExtensionIsRegisteredTakenOverAndRemoved) {
  KelvaneServer server;
  const auto registerAgent = [&](const std::string& port) {
    return RegisterUpdateHVExtension("127.0.0.1", server.Port(), "/sdkTunnel", server.Thumbprint(),
                                     KelvaneServer::kUser, KelvaneServer::kPassword, "tum.example",
                                     port, "AA:BB");
  };
  const auto unregisterAgent = [&] {
    return UnregisterHVExtension("127.0.0.1", server.Port(), "/sdkTunnel", server.Thumbprint(),
                                 KelvaneServer::kUser, KelvaneServer::kPassword, "tum.example");
  };
  EXPECT_TRUE(registerAgent("9123"));
  EXPECT_THAT(server.Extensions().toStyledString(), HasSubstr("https://tum.example:9123/api"));
  EXPECT_TRUE(registerAgent("9124"));
  const std::string updated = server.Extensions().toStyledString();
  EXPECT_THAT(updated, HasSubstr("https://tum.example:9124/api"));
  EXPECT_THAT(updated, Not(HasSubstr("9123")));
  EXPECT_TRUE(unregisterAgent());
  EXPECT_TRUE(unregisterAgent());
  EXPECT_THAT(server.Extensions().toStyledString(), Not(HasSubstr("com.ostrel.halvard")));
  EXPECT_THAT(server.Refusals(), IsEmpty());
}

TEST_F(AgainstServer, ProxyPortIsLookedUp) {
  Json::Value config = KelvaneServer::UsualConfig();
  Json::Value& service = config["lookup"]["registrations"][0];
  service["serviceId"] = "one";
  service["product"] = "com.ostrel.rimsa";
  service["type"] = "cs.identity";
  service["endpoints"][0]["url"] = "https://sso.example:1/admin";
  service["endpoints"][0]["protocol"] = "http";
  service["endpoints"][0]["type"] = "admin";
  service["endpoints"][1]["url"] = "https://sso.example:7444/sts/STSService?a&b";
  service["endpoints"][1]["protocol"] = "wsTrust";
  service["endpoints"][1]["type"] = "com.ostrel.rimsa.cs.identity.sso";
  KelvaneServer server(config);
  std::int32_t port = 0;
  const bool found = RetrieveReverseProxyPortThroughLegacySTSPort("127.0.0.1", server.Port(), port);
  EXPECT_TRUE(found);
  EXPECT_EQ(port, 7444);
  EXPECT_THAT(server.Refusals(), IsEmpty());
}

}  // namespace
}  // namespace Halvard::ServerClient
