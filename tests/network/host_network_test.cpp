// The checks and the collection on a machine that has the host's adapters and resolver.
#include <net/if.h>

#include "collection_test.h"
#include "core/logging.h"
#include "core/text.h"
#include "network/adapter_snapshot.h"
#include "network/address_texts.h"
#include "network/name_validation.h"
#include "network/network_choice.h"
#include "network/network_configuration.h"
#include "standins/dnsmasq/dnsmasq.h"
#include "support/private_network.h"

namespace Halvard::Network {
namespace {

using ::testing::Contains;
using Testing::ErrorLine;
using Testing::OwnLog;

class HostNetwork : public CollectionTest {
 protected:
  HostNetwork() {
    machine_.Set("/adapters", "host");
    machine_.Set("/dns", "host");
    machine_.Remove("/hosts");
  }

  static Lab::Dnsmasq::Settings Names() {
    Lab::Dnsmasq::Settings settings;
    settings.port = 53;
    settings.hosts = {{"kv.example", "192.0.2.10"},        {"kv.example", "2001:db8::10"},
                      {"leased.example", "198.51.100.20"}, {"both.example", "192.0.2.10"},
                      {"both.example", "198.51.100.20"},   {"elsewhere.example", "203.0.113.9"}};
    return settings;
  }
  static std::string Collected(const char* key) {
    Json::Value reply(Json::objectValue);
    EXPECT_TRUE(GetTheNetworkConfiguration(gProperties[L"APP_NET_PNID_IP"], reply));
    return reply[key].asString();
  }
};

TEST_F(HostNetwork, EachAddressForDnsOfTheHostCanBeCollected) {
  const AdapterAddressesWrapper adapters;
  int collected = 0;
  for (const auto* adapter = adapters.Get(); adapter != nullptr; adapter = adapter->Next) {
    for (const auto* entry = adapter->FirstUnicastAddress; entry != nullptr; entry = entry->Next) {
      if ((entry->Flags & IP_ADAPTER_ADDRESS_DNS_ELIGIBLE) == 0) continue;
      const std::wstring text = GetNameInfoWrapper(entry->Address);
      Json::Value reply(Json::objectValue);
      // An adapter without a hardware address fails, and its reply has the rest all the same.
      EXPECT_EQ(GetTheNetworkConfiguration(text, reply), adapter->PhysicalAddressLength > 0);
      const bool ipv4 = entry->Address.lpSockaddr->sa_family == AF_INET;
      EXPECT_EQ(reply[ipv4 ? "config_ipaddr4" : "config_ipaddr6"].asString(), WideToUtf8(text));
      EXPECT_EQ(reply[ipv4 ? "config_prefix4" : "config_prefix6"].asInt(),
                entry->OnLinkPrefixLength);
      ++collected;
    }
  }
  if (collected == 0) GTEST_SKIP() << "the host has no address beyond loopback";
}

TEST_F(HostNetwork, NamesAndAddressesAreJudgedByTheHostsResolverAndInterfaces) {
  if (!Lab::Dnsmasq::Installed()) GTEST_SKIP() << "Debian's package dnsmasq-base isn't installed";
  const std::string obstacle = Lab::RunInPrivateNetwork([] {
    const Lab::Dnsmasq server(Names());
    const LogScope log;
    EXPECT_TRUE(ValidateFqdn(L"kv.example", false));
    EXPECT_TRUE(ValidateFqdn(L"leased.example", false));
    EXPECT_TRUE(ValidateFqdn(L"192.0.2.10", false));
    EXPECT_TRUE(ValidateFqdn(L"2001:db8::10", false));
    EXPECT_FALSE(ValidateFqdn(L"198.51.100.20", false));
    EXPECT_THAT(OwnLog(), Contains(ErrorLine(L"ValidateFqdn: IP Address '198.51.100.20' is "
                                             L"assigned using DHCP, and is not supported for "
                                             L"migration.")));
    EXPECT_TRUE(ValidateFqdn(L"198.51.100.20", true));
    // Known to the hosts file, or elsewhere, or to nobody.
    for (const wchar_t* name : {L"filed.example", L"elsewhere.example", L"nobody.example"}) {
      EXPECT_FALSE(ValidateFqdn(name, false)) << WideToUtf8(name);
    }
  });
  if (!obstacle.empty()) GTEST_SKIP() << obstacle;
}

TEST_F(HostNetwork, NetworkOfTheNameIsChosenAndCollected) {
  if (!Lab::Dnsmasq::Installed()) GTEST_SKIP() << "Debian's package dnsmasq-base isn't installed";
  Json::Value reply(Json::objectValue);
  unsigned link = 0;
  const std::string obstacle = Lab::RunInPrivateNetwork([&] {
    const Lab::Dnsmasq server(Names());
    link = if_nametoindex("lan");
    gProperties[L"APP_NET_PNID"] = L"kv.example";
    EXPECT_TRUE(CollectNetworkToMigrate({}, 2));
    EXPECT_TRUE(CollectNetworkIdentity(L"kv.example", reply));
  });
  if (!obstacle.empty()) GTEST_SKIP() << obstacle;
  Json::Value expected;
  expected["config_adapter_type"] = "Ethernet";
  expected["config_dhcp_servers4"] = "";
  expected["config_dhcp_servers6"] = "";
  expected["config_dns_servers4"] = "127.0.0.1";
  expected["config_dns_servers6"] = "";
  expected["config_dns_suffix"] = "corp.example";
  expected["config_fqdn"] = "kv.example";
  expected["config_gateway4"] = "192.0.2.1";
  expected["config_gateway6"] = "fe80::1%" + std::to_string(link);
  expected["config_ipaddr4"] = "192.0.2.10";
  expected["config_ipaddr6"] = "2001:db8::10";
  expected["config_mac"] = "02:00:00:00:00:0A";
  expected["config_mode4"] = "static";
  expected["config_mode6"] = "static";
  expected["config_ntp_servers"] = "";
  expected["config_ntp_type"] = "";
  expected["config_prefix4"] = 24;
  expected["config_prefix6"] = 64;
  expected["error"] = "";
  expected["result"] = "success";
  EXPECT_EQ(reply.toStyledString(), expected.toStyledString());
}

TEST_F(HostNetwork, NameOnTwoInterfacesWantsAChoice) {
  if (!Lab::Dnsmasq::Installed()) GTEST_SKIP() << "Debian's package dnsmasq-base isn't installed";
  const std::string obstacle = Lab::RunInPrivateNetwork([] {
    const Lab::Dnsmasq server(Names());
    gProperties[L"APP_NET_PNID"] = L"both.example";
    EXPECT_THAT(GetDnsRoutableAddresses(),
                ::testing::UnorderedElementsAre(L"192.0.2.10", L"198.51.100.20"));
    EXPECT_FALSE(CollectNetworkToMigrate({}, 2));
    UserInput input;
    input.hvIp = L"198.51.100.20";
    EXPECT_TRUE(CollectNetworkToMigrate(input, 2));
    EXPECT_EQ(Collected("config_mac"), "02:00:00:00:00:14");
    EXPECT_EQ(Collected("config_mode4"), "dhcp");
    EXPECT_EQ(Collected("config_mode6"), "dhcp");
    EXPECT_EQ(Collected("config_dhcp_iaid6"), "0");
    EXPECT_EQ(Collected("config_gateway4"), "");
  });
  if (!obstacle.empty()) GTEST_SKIP() << obstacle;
}

}  // namespace
}  // namespace Halvard::Network
