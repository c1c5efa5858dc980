// What the collecting operations answer.
#include "service_test.h"

namespace Halvard::MigratorSvc {
namespace {

using testing::Contains;

class CollectionOperations : public ServiceTest {
 protected:
  CallResult AskDomain(const std::string& locale = "en") {
    return Call(&AsyncServiceInterface::CollectActiveDirectoryConfig, GoodRequest(locale));
  }
  CallResult AskNetwork(const std::string& locale = "en") {
    return Call(&AsyncServiceInterface::CollectNetworkConfig, GoodRequest(locale));
  }
};

TEST_F(CollectionOperations, DomainIsAnsweredToTheByte) {
  SpeakMachineLanguage(kGerman);
  Testing::TheSurroundings().domain = Network::ActiveDirectoryConfig{
      L"corp.\u00e4xample", L"\\\\dc1.corp", L"\\\\192.0.2.1", L"192.0.2.1,192.0.2.2", L"fd00::1"};
  const CallResult result = AskDomain("fr");
  EXPECT_EQ(result.text, R"({
   "adDcAddress" : "\\\\192.0.2.1",
   "adDcIpv4Addresses" : "192.0.2.1,192.0.2.2",
   "adDcIpv6Addresses" : "fd00::1",
   "adDcName" : "\\\\dc1.corp",
   "ad_domain_name" : "corp.\u00e4xample",
   "error" : "",
   "result" : "success"
}
)");
  EXPECT_EQ(result.console, Message(kGerman, 1193) + L"\n" + Message(kGerman, 1062) + L"\n");
}

TEST_F(CollectionOperations, MachineOutsideADomainIsASuccessWithEmptyValues) {
  Testing::TheSurroundings().domain = Network::ActiveDirectoryConfig{};
  const Json::Value reply = AskDomain().reply;
  EXPECT_EQ(reply["result"], "success");
  EXPECT_EQ(reply.size(), 7u);
  for (const char* member : {"ad_domain_name", "adDcName", "adDcAddress", "adDcIpv4Addresses",
                             "adDcIpv6Addresses", "error"}) {
    EXPECT_EQ(reply[member], "") << member;
  }
}

TEST_F(CollectionOperations, DomainThatCannotBeToldIsAFailureWithAnEmptyName) {
  SpeakMachineLanguage(kGerman);
  const CallResult result = AskDomain("fr");
  EXPECT_TRUE(result.Failed());
  EXPECT_EQ(Utf8ToWide(result.Error()), Message(kFrench, 1061));
  EXPECT_EQ(result.reply["ad_domain_name"], "");
  EXPECT_EQ(result.reply.size(), 3u);
  EXPECT_EQ(result.console, Message(kGerman, 1193) + L"\n" + Message(kGerman, 1061) + L"\n");
}

TEST_F(CollectionOperations, NetworkIsCollectedForTheSystemNameAndAnsweredAsItWasCollected) {
  SpeakMachineLanguage(kGerman);
  gProperties[L"APP_NET_PNID"] = L"kv.\u00e4xample";
  Json::Value& network = Testing::TheSurroundings().network;
  network["result"] = "fail";
  network["error"] = "in its own words";
  network["config_fqdn"] = "kv";
  for (const bool collected : {true, false}) {
    Testing::TheSurroundings().networkIsCollected = collected;
    const CallResult result = AskNetwork();
    EXPECT_EQ(result.reply, network);
    EXPECT_EQ(result.console,
              Message(kGerman, 1194) + L"\n" + Message(kGerman, collected ? 1063 : 1064) + L"\n");
  }
  EXPECT_THAT(Testing::CheckCalls(), Contains("CollectNetworkIdentity(kv.\u00e4xample)").Times(2));
}

}  // namespace
}  // namespace Halvard::MigratorSvc
