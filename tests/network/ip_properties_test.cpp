#include "network/ip_properties.h"

#include "collection_test.h"
#include "network/adapter_snapshot.h"

namespace Halvard::Network {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using Testing::InfoLine;
using Testing::LogLine;
using ::testing::Not;
using Testing::WarningLine;

class IPProperties : public CollectionTest {
 protected:
  IPProperties() {
    adapter_["mac"] = "08:00:27:4E:66:A1";
    adapter_["addresses"] = Json::Value(Json::arrayValue);
  }

  /// \param origin  Of prefix and suffix.
  Json::Value& Add(const char* text, const char* origin = "manual") {
    Json::Value address;
    address["address"] = text;
    address["prefixOrigin"] = origin;
    address["suffixOrigin"] = origin;
    return adapter_["addresses"].append(address);
  }
  Json::Value Collect(const wchar_t* chosen, const wchar_t* family) {
    Json::Value adapters(Json::arrayValue);
    adapters.append(adapter_);
    machine_.Set("/adapters", adapters);
    const AdapterAddressesWrapper snapshot;
    Json::Value reply(Json::objectValue);
    EXPECT_TRUE(CollectIPProperties(chosen, *snapshot.Get(), family, reply));
    return reply;
  }
  static std::vector<LogLine> Lines() { return LinesOf(L"CollectIPProperties"); }

  Json::Value adapter_;
};

TEST_F(IPProperties, EachMemberIsLogged) {
  Add("192.0.2.10")["prefixLength"] = 20;
  adapter_["gateways"].append("192.0.2.1");
  adapter_["dnsServers"].append("192.0.2.53");
  adapter_["dhcpServer4"] = "192.0.2.67";
  adapter_["dhcp"] = true;
  (void)Collect(L"192.0.2.10", L"AF_INET");
  EXPECT_THAT(
      Lines(),
      ElementsAre(
          InfoLine(L"CollectIPProperties: Received config_ipaddr4 value [192.0.2.10]"),
          InfoLine(L"CollectIPProperties: IP Address: [192.0.2.10], Flags: [1], PrefixOrigin:[1], "
                   L"SuffixOrigin: [1]"),
          InfoLine(L"CollectIPProperties: Received config_mode4 value [dhcp]"),
          InfoLine(L"CollectIPProperties: Received config_prefix4 value [20]"),
          InfoLine(L"CollectIPProperties: Received config_gateway4 value [192.0.2.1]"),
          InfoLine(L"CollectIPProperties: Received config_dns_servers4 value [192.0.2.53]"),
          InfoLine(L"CollectIPProperties: Received config_dhcp_servers4 value [192.0.2.67]")));
}

TEST_F(IPProperties, FamilyWithoutAnAddressKeepsGatewaysAndServers) {
  Add("192.0.2.10");
  adapter_["gateways"].append("fe80::1%1");
  adapter_["dnsServers"].append("2001:db8::53");
  adapter_["dhcpServer6"] = "2001:db8::67";
  const Json::Value reply = Collect(L"192.0.2.10", L"AF_INET6");
  EXPECT_EQ(reply["config_ipaddr6"].asString(), "");
  EXPECT_EQ(reply["config_mode6"].asString(), "");
  EXPECT_TRUE(reply["config_prefix6"].isInt());
  EXPECT_EQ(reply["config_prefix6"].asInt(), 0);
  EXPECT_THAT(
      Lines(),
      ElementsAre(
          InfoLine(L"CollectIPProperties: No static unicast address found."),
          InfoLine(L"CollectIPProperties: No unicast address found for 'AF_INET6' family."),
          InfoLine(L"CollectIPProperties: Received config_gateway6 value [fe80::1%1]"),
          InfoLine(L"CollectIPProperties: Received config_dns_servers6 value [2001:db8::53]"),
          InfoLine(L"CollectIPProperties: Received config_dhcp_servers6 value [2001:db8::67]")));
}

TEST_F(IPProperties, ChosenAddressThatTheAdapterLacksIsNotReplacedByAnother) {
  Add("192.0.2.10");
  const Json::Value reply = Collect(L"192.0.2.99", L"AF_INET");
  EXPECT_EQ(reply["config_ipaddr4"].asString(), "");
  EXPECT_THAT(Lines(), Contains(InfoLine(L"CollectIPProperties: No unicast address found for "
                                         L"'AF_INET' family.")));
  EXPECT_THAT(Lines(),
              Not(Contains(InfoLine(L"CollectIPProperties: No static unicast address found."))));
}

TEST_F(IPProperties, TypedInAddressOfTheOtherFamilyComesFirst) {
  Add("2001:db8::1", "dhcp");
  Add("2001:db8::2");
  EXPECT_EQ(Collect(L"192.0.2.10", L"AF_INET6")["config_ipaddr6"].asString(), "2001:db8::2");
}

TEST_F(IPProperties, WithoutATypedInOneAnyAddressOfTheOtherFamilyWillDo) {
  Add("2001:db8::1", "dhcp");
  EXPECT_EQ(Collect(L"192.0.2.10", L"AF_INET6")["config_ipaddr6"].asString(), "2001:db8::1");
  EXPECT_THAT(Lines(),
              Contains(InfoLine(L"CollectIPProperties: No static unicast address found.")));
}

TEST_F(IPProperties, LinkLocalAndTransientAddressesAreNeverChosen) {
  Add("fe80::1%1")["dnsEligible"] = false;
  Add("2001:db8::1")["transient"] = true;
  EXPECT_EQ(Collect(L"192.0.2.10", L"AF_INET6")["config_ipaddr6"].asString(), "");
}

TEST_F(IPProperties, ScopedAddressCountsAsOfNeitherFamily) {
  // No strict spelling, so the first typed-in one is taken for IPv6 too.
  Add("2001:db8::2");
  Add("fe80::1%1");
  EXPECT_EQ(Collect(L"fe80::1%1", L"AF_INET6")["config_ipaddr6"].asString(), "2001:db8::2");
}

struct OriginCase {
  const char* prefix;
  const char* suffix;
  const char* mode;
};
class Origins : public IPProperties, public ::testing::WithParamInterface<OriginCase> {};
TEST_P(Origins, DecideTheModeOfIPv6) {
  Json::Value& address = Add("2001:db8::1");
  address["prefixOrigin"] = GetParam().prefix;
  address["suffixOrigin"] = GetParam().suffix;
  adapter_["dhcp"] = true;  // That is IPv4's alone.
  const Json::Value reply = Collect(L"2001:db8::1", L"AF_INET6");
  EXPECT_EQ(reply["config_mode6"].asString(), GetParam().mode);
  EXPECT_EQ(reply.isMember("config_dhcp_iaid6"), reply["config_mode6"].asString() == "dhcp");
}
INSTANTIATE_TEST_SUITE_P(Of, Origins,
                         ::testing::Values(OriginCase{"manual", "manual", "static"},
                                           OriginCase{"manual", "linkLayerAddress", "dhcp"},
                                           OriginCase{"routerAdvertisement", "manual", "dhcp"},
                                           OriginCase{"routerAdvertisement", "random", "dhcp"},
                                           OriginCase{"dhcp", "dhcp", "dhcp"},
                                           OriginCase{"other", "other", "dhcp"}),
                         [](const auto& row) {
                           return std::string(row.param.prefix) + "_" + row.param.suffix;
                         });

TEST_F(IPProperties, AddressByDhcpv6BringsTheClientsIds) {
  Add("2001:db8::1", "dhcp");
  adapter_["duid"] = "00:01:ab:0C";
  adapter_["iaid"] = 4294967295u;
  const Json::Value reply = Collect(L"2001:db8::1", L"AF_INET6");
  EXPECT_EQ(reply["config_dhcp_duid6"].asString(), "00:01:AB:0C");
  EXPECT_EQ(reply["config_dhcp_iaid6"].asString(), "4294967295");
  const std::vector<LogLine> lines = Lines();
  ASSERT_GE(lines.size(), 5u);
  EXPECT_EQ(lines[2], InfoLine(L"CollectIPProperties: Received dhcpv6Duid value [00:01:AB:0C]"));
  EXPECT_EQ(lines[3], InfoLine(L"CollectIPProperties: Received dhcpv6Iaid value [4294967295]"));
  EXPECT_EQ(lines[4], InfoLine(L"CollectIPProperties: Received config_mode6 value [dhcp]"));
}

TEST_F(IPProperties, MissingIdOfTheClientIsAWarningAndLeftOut) {
  Add("2001:db8::1", "dhcp");
  const Json::Value reply = Collect(L"2001:db8::1", L"AF_INET6");
  EXPECT_FALSE(reply.isMember("config_dhcp_duid6"));
  EXPECT_EQ(reply["config_dhcp_iaid6"].asString(), "0");
  EXPECT_THAT(Lines(),
              Contains(WarningLine(L"CollectIPProperties: Failed to get the Dhcpv6ClientDuid.")));
}

TEST_F(IPProperties, AnyOtherFamilyWordHasTheMembersOfIPv6) {
  Add("192.0.2.10");
  const Json::Value reply = Collect(L"192.0.2.10", L"AF_UNSPEC");
  EXPECT_EQ(reply["config_ipaddr6"].asString(), "");
  EXPECT_FALSE(reply.isMember("config_ipaddr4"));
}

}  // namespace
}  // namespace Halvard::Network
