#include "network/network_configuration.h"

#include <json/reader.h>
#include <json/writer.h>

#include <fstream>

#include "collection_test.h"
#include "core/text.h"
#include "support/datagram_server.h"

namespace Halvard::Network {
namespace {

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using Testing::ErrorLine;
using ::testing::HasSubstr;
using Testing::InfoLine;
using ::testing::IsEmpty;
using Testing::LogLine;
using ::testing::Not;

/// A machine's network, the address that was chosen, and the reply to that: networks/NAME.json.
Json::Value ReadNetwork(const std::string& name) {
  std::ifstream in(std::string(NETWORKS_FOLDER) + "/" + name + ".json");
  Json::Value network;
  in >> network;
  return network;
}

std::wstring Wide(const Json::Value& text) { return Utf8ToWide(text.asString()); }

class NetworkConfiguration : public CollectionTest {
 protected:
  void Use(const Json::Value& network) {
    machine_.Set("/adapters", network["adapters"]);
    if (network.isMember("searchList")) {
      machine_.SetRegistryString(kTcpipKey, L"SearchList", Wide(network["searchList"]));
    }
    gProperties[L"APP_NET_PNID_IP"] = Wide(network["address"]);
  }
  bool Collect() { return CollectNetworkIdentity(L"kv.corp.example", reply_); }
  std::wstring Error() const { return Wide(reply_["error"]); }
  static std::vector<LogLine> Lines() { return LinesOf(L"GetTheNetworkConfiguration"); }

  Json::Value reply_ = Json::Value(Json::objectValue);
};

class EachNetwork : public NetworkConfiguration,
                    public ::testing::WithParamInterface<const char*> {};
TEST_P(EachNetwork, HasItsReply) {
  const Json::Value network = ReadNetwork(GetParam());
  Use(network);
  EXPECT_EQ(Collect(), network["reply"]["result"].asString() == "success");
  EXPECT_EQ(reply_.toStyledString(), network["reply"].toStyledString());
}
INSTANTIATE_TEST_SUITE_P(Described, EachNetwork,
                         ::testing::Values("single_adapter", "several_adapters", "ipv4_only",
                                           "ipv6_static", "ipv6_advertised", "dhcp", "no_mac",
                                           "no_gateway", "search_list", "addresses_on_one_adapter",
                                           "addresses_on_two_adapters"),
                         [](const auto& row) { return std::string(row.param); });

TEST_F(NetworkConfiguration, SuccessIsLoggedAsStyledText) {
  Use(ReadNetwork("single_adapter"));
  EXPECT_TRUE(Collect());
  const std::wstring text = Utf8ToWide(Json::StyledWriter().write(reply_));
  EXPECT_THAT(LinesOf(L"CollectNetworkIdentity"),
              ElementsAre(InfoLine(L"CollectNetworkIdentity: Successfully collected network "
                                   L"configuration: " +
                                   text.substr(0, text.size() - 1))));
}

TEST_F(NetworkConfiguration, EachStepIsLogged) {
  Use(ReadNetwork("single_adapter"));
  EXPECT_TRUE(Collect());
  EXPECT_THAT(
      Lines(),
      ElementsAre(
          // DHCP is off, both families are on.
          InfoLine(L"GetTheNetworkConfiguration: Adapter flag: [384]."),
          InfoLine(L"GetTheNetworkConfiguration: Received config_adapter_type value [Ethernet]"),
          InfoLine(L"GetTheNetworkConfiguration: Received config_mac value [08:00:27:4E:66:A1]"),
          InfoLine(L"GetTheNetworkConfiguration: DNS suffix list retrieved: [corp.example]"),
          InfoLine(L"GetTheNetworkConfiguration: Received config_ntp_servers: [], "
                   L"config_ntp_type: []")));
}

TEST_F(NetworkConfiguration, ReplyBeginsAsAFailure) {
  reply_["result"] = "success";
  reply_["error"] = "left from before";
  EXPECT_FALSE(CollectNetworkIdentity(L"", reply_));
  EXPECT_EQ(reply_["result"].asString(), "fail");
  EXPECT_EQ(reply_["error"].asString(), "FQDN value is empty");
  EXPECT_EQ(reply_.size(), 2u);
}

TEST_F(NetworkConfiguration, WithoutAdaptersThereIsNothingToCollect) {
  Use(ReadNetwork("single_adapter"));
  machine_.PlanFault({.function = "GetAdaptersAddresses", .call = 1, .match = {}, .error = 87});
  EXPECT_FALSE(Collect());
  EXPECT_EQ(Error(), L"Failed to retrieve the network adapters on the machine.");
  EXPECT_THAT(Lines(), IsEmpty());
  EXPECT_EQ(reply_["config_fqdn"].asString(), "kv.corp.example");
  EXPECT_EQ(reply_.size(), 3u);
}

TEST_F(NetworkConfiguration, AddressThatNoAdapterHasIsAFailure) {
  Use(ReadNetwork("single_adapter"));
  gProperties[L"APP_NET_PNID_IP"] = L"192.0.2.99";
  EXPECT_FALSE(Collect());
  EXPECT_EQ(reply_["result"].asString(), "fail");
  EXPECT_EQ(Error(), L"Failed to get the adapterAddress that matches the IP");
  EXPECT_THAT(Lines(), ElementsAre(ErrorLine(L"GetTheNetworkConfiguration: Failed to get the "
                                             L"adapterAddress that matches the IP.")));
}

TEST_F(NetworkConfiguration, MissingHardwareAddressIsLogged) {
  Use(ReadNetwork("no_mac"));
  EXPECT_FALSE(Collect());
  EXPECT_THAT(Lines(), Contains(ErrorLine(L"GetTheNetworkConfiguration: Failed to retrieve MAC "
                                          L"Address of the adapter")));
}

TEST_F(NetworkConfiguration, ErrorsAreInTheLanguageOfTheClientAndLinesInEnglish) {
  gProperties[L"MC_LOCALE"] = L"ja";
  Use(ReadNetwork("no_mac"));
  EXPECT_FALSE(Collect());
  EXPECT_THAT(Error(), AllOf(Not(HasSubstr(L"Failed")), HasSubstr(L"MAC")));
  EXPECT_THAT(Lines(), Contains(ErrorLine(L"GetTheNetworkConfiguration: Failed to retrieve MAC "
                                          L"Address of the adapter")));
  for (const char* name : {"", "192.0.2.99"}) {
    gProperties[L"APP_NET_PNID_IP"] = L"192.0.2.99";
    EXPECT_FALSE(CollectNetworkIdentity(Utf8ToWide(name), reply_));
    EXPECT_THAT(Error(), Not(HasSubstr(*name == '\0' ? L"is empty" : L"Failed")));
  }
}

TEST_F(NetworkConfiguration, AnsweringTimeServersArePartOfIt) {
  const Lab::DatagramServer server("x");
  machine_.Set("/addressMap/192.0.2.5:123", server.Address());
  machine_.SetRegistryString(kTimeServiceKey, L"Type", L"NTP");
  machine_.SetRegistryString(kTimeServiceKey, L"NtpServer", L"192.0.2.5,0x9");
  Use(ReadNetwork("single_adapter"));
  EXPECT_TRUE(Collect());
  EXPECT_EQ(reply_["config_ntp_servers"].asString(), "192.0.2.5");
  EXPECT_EQ(reply_["config_ntp_type"].asString(), "NTP");
  EXPECT_THAT(Lines(), Contains(InfoLine(L"GetTheNetworkConfiguration: Received "
                                         L"config_ntp_servers: [192.0.2.5], config_ntp_type: "
                                         L"[NTP]")));
}

TEST_F(NetworkConfiguration, DeadTimeServersFailItAndLeaveTheRestInPlace) {
  machine_.Set("/addressMap/192.0.2.5:123", Lab::ClosedDatagramPort());
  machine_.SetRegistryString(kTimeServiceKey, L"Type", L"NTP");
  machine_.SetRegistryString(kTimeServiceKey, L"NtpServer", L"192.0.2.5,0x9");
  // The later failure's text is the one that stays.
  Use(ReadNetwork("no_mac"));
  EXPECT_FALSE(Collect());
  EXPECT_EQ(reply_["result"].asString(), "fail");
  EXPECT_THAT(Error(), HasSubstr(L"192.0.2.5 which is/are not responding"));
  EXPECT_EQ(reply_["config_ntp_servers"].asString(), "192.0.2.5,0x9");
  EXPECT_EQ(reply_["config_ntp_type"].asString(), "NTP");
  EXPECT_EQ(reply_["config_ipaddr4"].asString(), "192.0.2.10");
}

TEST_F(NetworkConfiguration, AnyAddressOfTheMachineCanBeAskedFor) {
  Use(ReadNetwork("several_adapters"));
  EXPECT_TRUE(GetTheNetworkConfiguration(L"192.0.2.10", reply_));
  EXPECT_EQ(reply_["config_mac"].asString(), "08:00:27:00:00:01");
  EXPECT_FALSE(reply_.isMember("result"));
  EXPECT_FALSE(reply_.isMember("error"));
}

TEST_F(NetworkConfiguration, NameOfAThousandCharactersIsHandedOnAsItIs) {
  Use(ReadNetwork("single_adapter"));
  EXPECT_TRUE(CollectNetworkIdentity(std::wstring(1'000, L'\u4eac'), reply_));
  EXPECT_EQ(Wide(reply_["config_fqdn"]), std::wstring(1'000, L'\u4eac'));
}

TEST_F(NetworkConfiguration, HundredsOfAdaptersAndAddresses) {
  Json::Value adapters(Json::arrayValue);
  for (int i = 0; i < 200; ++i) {
    Json::Value adapter;
    adapter["mac"] = "08:00:27:00:00:01";
    for (int j = 1; j <= 20; ++j) {
      Json::Value address;
      address["address"] = "10.1." + std::to_string(i) + "." + std::to_string(j);
      adapter["addresses"].append(address);
    }
    adapters.append(adapter);
  }
  machine_.Set("/adapters", adapters);
  gProperties[L"APP_NET_PNID_IP"] = L"10.1.199.20";
  EXPECT_TRUE(Collect());
  EXPECT_EQ(reply_["config_ipaddr4"].asString(), "10.1.199.20");
}

}  // namespace
}  // namespace Halvard::Network
