#include "network/adapters.h"

#include <map>
#include <optional>
#include <vector>

#include "adapters_test.h"
#include "core/property_store.h"
#include "network/address_texts.h"

namespace Halvard::Network {
namespace {

using Testing::AdapterWith;
using ::testing::Contains;
using Testing::ErrorLine;
using Testing::InfoLine;
using ::testing::Not;
using Testing::OwnLog;
using Testing::WarningLine;

TEST_F(AdaptersTest, OneOfHundredsOfAdaptersIsFound) {
  Json::Value list(Json::arrayValue);
  for (int i = 0; i < 500; ++i) {
    list.append(AdapterWith({("10.0.0." + std::to_string(i % 250)).c_str(), "2001:db8::1"}));
  }
  list[499]["addresses"][1]["address"] = "2001:db8::499";
  machine_.Set("/adapters", list);
  const AdapterAddressesWrapper adapters;
  const IP_ADAPTER_ADDRESSES* found =
      GetAdapterWithMatchingIPAddress(adapters.Get(), L"2001:db8::499");
  ASSERT_NE(found, nullptr);
  EXPECT_EQ(found->Next, nullptr);
}

TEST_F(AdaptersTest, FirstAdapterWithTheAddressMatches) {
  SetAdapters({AdapterWith({"192.0.2.1"}), AdapterWith({"2001:db8::7", "192.0.2.2"}),
               AdapterWith({"192.0.2.2"})});
  const LogScope log;
  const AdapterAddressesWrapper adapters;
  EXPECT_EQ(GetAdapterWithMatchingIPAddress(adapters.Get(), L"192.0.2.2"), adapters.Get()->Next);
  EXPECT_EQ(GetAdapterWithMatchingIPAddress(adapters.Get(), L"2001:db8::7"), adapters.Get()->Next);
  EXPECT_THAT(OwnLog(),
              Contains(InfoLine(
                  L"GetAdapterWithMatchingIPAddress: Detected the adapter that matches the FQDN")));
}

TEST_F(AdaptersTest, ScopeIsPartOfTheText) {
  SetAdapters({AdapterWith({"fe80::1%1"})});
  const AdapterAddressesWrapper adapters;
  EXPECT_NE(GetAdapterWithMatchingIPAddress(adapters.Get(), L"fe80::1%1"), nullptr);
  EXPECT_EQ(GetAdapterWithMatchingIPAddress(adapters.Get(), L"fe80::1"), nullptr);
}

TEST_F(AdaptersTest, AbsentAddressMatchesNothing) {
  SetAdapters({AdapterWith({"192.0.2.1"})});
  const LogScope log;
  const AdapterAddressesWrapper adapters;
  EXPECT_EQ(GetAdapterWithMatchingIPAddress(adapters.Get(), L"192.0.2.9"), nullptr);
  EXPECT_THAT(OwnLog(), Contains(InfoLine(L"GetAdapterWithMatchingIPAddress: No adapter found for "
                                          L"the IP [192.0.2.9]")));
}

TEST_F(AdaptersTest, AbsentListMatchesNothing) {
  EXPECT_EQ(GetAdapterWithMatchingIPAddress(nullptr, L"192.0.2.1"), nullptr);
}

TEST_F(AdaptersTest, AddressThatIsNotForDnsIsPassedOver) {
  Json::Value adapter = AdapterWith({"192.0.2.1", "192.0.2.2"});
  adapter["addresses"][0]["dnsEligible"] = false;
  SetAdapters({adapter});
  const LogScope log;
  const AdapterAddressesWrapper adapters;
  EXPECT_EQ(GetAdapterWithMatchingIPAddress(adapters.Get(), L"192.0.2.1"), nullptr);
  EXPECT_EQ(GetAdapterWithMatchingIPAddress(adapters.Get(), L"192.0.2.2"), adapters.Get());
  EXPECT_THAT(OwnLog(), Contains(InfoLine(L"GetAdapterWithMatchingIPAddress: Socket address is "
                                          L"null or the IP is not eligible DNS entry.")));
}

TEST_F(AdaptersTest, AddressWithoutATextEndsTheSearchInThatAdapterOnly) {
  SetAdapters({AdapterWith({"192.0.2.1", "192.0.2.2"}), AdapterWith({"192.0.2.2"})});
  machine_.PlanFault({.function = "GetNameInfoW", .call = 1, .match = {}, .error = 11001});
  const LogScope log;
  const AdapterAddressesWrapper adapters;
  EXPECT_EQ(GetAdapterWithMatchingIPAddress(adapters.Get(), L"192.0.2.2"), adapters.Get()->Next);
  EXPECT_THAT(
      OwnLog(),
      Contains(ErrorLine(L"GetAdapterWithMatchingIPAddress: Failed to retrieve IP Address.")));
  EXPECT_THAT(OwnLog(), Contains(ErrorLine(L"GetNameInfoWrapper: Failed to retrieve name info, "
                                           L"Error Code: [11001]")));
}

TEST_F(AdaptersTest, Ipv6IsOnWhenTheMigratingAdapterHasIt) {
  SetAdapters({AdapterWith({"192.0.2.1"})});
  gProperties[L"APP_NET_PNID_IP"] = L"192.0.2.1";
  bool enabled = false;
  EXPECT_TRUE(IsIPv6EnabledOnAppNetPnidAdapter(enabled));
  EXPECT_TRUE(enabled);
}

TEST_F(AdaptersTest, Ipv6IsOffWhenTheMigratingAdapterLacksIt) {
  Json::Value adapter = AdapterWith({"192.0.2.1"});
  adapter["ipv6"] = false;
  SetAdapters({adapter});
  gProperties[L"APP_NET_PNID_IP"] = L"192.0.2.1";
  bool enabled = true;
  EXPECT_TRUE(IsIPv6EnabledOnAppNetPnidAdapter(enabled));
  EXPECT_FALSE(enabled);
}

TEST_F(AdaptersTest, Ipv6IsUnknownWithoutTheMigratingAdapter) {
  gProperties[L"APP_NET_PNID_IP"] = L"";
  const LogScope log;
  bool enabled = true;
  EXPECT_FALSE(IsIPv6EnabledOnAppNetPnidAdapter(enabled));
  EXPECT_FALSE(enabled);
  EXPECT_THAT(OwnLog(), Contains(ErrorLine(
                            L"IsIPv6EnabledOnAppNetPnidAdapter: Failed to retrieve the adapter "
                            L"that matches theAppNetPnid IP address.")));
}

TEST_F(AdaptersTest, Ipv6IsUnknownWithoutAList) {
  RefuseCall(1, kInvalidParameter);
  bool enabled = true;
  EXPECT_FALSE(IsIPv6EnabledOnAppNetPnidAdapter(enabled));
  EXPECT_FALSE(enabled);
}

/// The first adapter of a list of one.
class OneAdapterTest : public AdaptersTest {
 protected:
  const IP_ADAPTER_ADDRESSES& Open(const Json::Value& adapter) {
    SetAdapters({adapter});
    adapters_.emplace();
    return *adapters_->Get();
  }
  void TearDown() override { adapters_.reset(); }

  std::optional<AdapterAddressesWrapper> adapters_;
};

class UnicastTest : public OneAdapterTest {
 protected:
  UnicastTest() : adapter_(AdapterWith({})) {}

  Json::Value& Add(const char* address) {
    Json::Value entry;
    entry["address"] = address;
    return adapter_["addresses"].append(entry);
  }
  static std::wstring Text(const IP_ADAPTER_UNICAST_ADDRESS* entry) {
    return entry == nullptr ? L"none" : GetNameInfoWrapper(entry->Address);
  }
  std::wstring OfFamily(const wchar_t* family, bool anyOrigin) {
    return Text(GetUnicastAddressForFamily(Open(adapter_), family, anyOrigin));
  }
  std::wstring Matching(const wchar_t* address) {
    return Text(GetUnicastAddressMatchingIPAddress(Open(adapter_), address));
  }

  Json::Value adapter_;
};

TEST_F(UnicastTest, MatchIsByText) {
  Add("192.0.2.1");
  Add("FD00::2");
  EXPECT_EQ(Matching(L"192.0.2.1"), L"192.0.2.1");
  EXPECT_EQ(Matching(L"fd00::2"), L"fd00::2");
  EXPECT_EQ(Matching(L"FD00::2"), L"none");
  EXPECT_EQ(Matching(L"192.0.2.2"), L"none");
}

TEST_F(UnicastTest, MatchIsForDnsAndLasting) {
  Add("192.0.2.1")["dnsEligible"] = false;
  Add("192.0.2.2")["transient"] = true;
  EXPECT_EQ(Matching(L"192.0.2.1"), L"none");
  EXPECT_EQ(Matching(L"192.0.2.2"), L"none");
}

TEST_F(UnicastTest, MatchGoesOnBehindAnAddressWithoutAText) {
  Add("192.0.2.1");
  Add("192.0.2.2");
  machine_.PlanFault({.function = "GetNameInfoW", .call = 1, .match = {}, .error = 11001});
  const LogScope log;
  // Setting the adapters counts the calls anew.
  const IP_ADAPTER_ADDRESSES& adapter = Open(adapter_);
  const IP_ADAPTER_UNICAST_ADDRESS* found =
      GetUnicastAddressMatchingIPAddress(adapter, L"192.0.2.2");
  EXPECT_EQ(found, adapter.FirstUnicastAddress->Next);
  EXPECT_THAT(
      OwnLog(),
      Contains(ErrorLine(L"GetUnicastAddressMatchingIPAddress: Failed to retrieve IP Address.")));
}

TEST_F(UnicastTest, FamilyTakesTheFirstOfAnyOrigin) {
  Add("2001:db8::1")["suffixOrigin"] = "linkLayerAddress";
  Add("192.0.2.1");
  Add("2001:db8::2");
  EXPECT_EQ(OfFamily(L"AF_INET6", true), L"2001:db8::1");
  EXPECT_EQ(OfFamily(L"AF_INET", true), L"192.0.2.1");
}

TEST_F(UnicastTest, FamilyTakesTheFirstThatWasTypedIn) {
  Add("2001:db8::1")["suffixOrigin"] = "random";
  Add("2001:db8::2")["prefixOrigin"] = "routerAdvertisement";
  Add("2001:db8::3");
  EXPECT_EQ(OfFamily(L"AF_INET6", false), L"2001:db8::3");
  EXPECT_EQ(OfFamily(L"AF_INET", false), L"none");
}

TEST_F(UnicastTest, FamilyIsForDnsAndLasting) {
  Add("2001:db8::1")["dnsEligible"] = false;
  Add("2001:db8::2")["transient"] = true;
  EXPECT_EQ(OfFamily(L"AF_INET6", true), L"none");
}

TEST_F(UnicastTest, OtherFamiliesMatchNoWord) {
  Add("192.0.2.1");
  EXPECT_EQ(OfFamily(L"AF_UNSPEC", true), L"none");
  EXPECT_EQ(OfFamily(L"", true), L"none");
}

/// An adapter of hand-made records. In each list two come first that no described machine has: one
/// without an address, and one of a family of its own.
class OddRecordsTest : public AdaptersTest {
 protected:
  OddRecordsTest() {
    address_.sin_family = AF_INET;
    address_.sin_addr.s_addr = htonl(0xC0000201);
    strange_.sa_family = 17;
    Link(unicasts_, adapter_.FirstUnicastAddress);
    Link(dnsServers_, adapter_.FirstDnsServerAddress);
    Link(gateways_, adapter_.FirstGatewayAddress);
    for (IP_ADAPTER_UNICAST_ADDRESS& entry : unicasts_) {
      entry.Flags = IP_ADAPTER_ADDRESS_DNS_ELIGIBLE;
    }
  }

  template <typename Entry>
  void Link(Entry (&entries)[3], Entry*& first) {
    first = &entries[0];
    entries[0].Next = &entries[1];
    entries[1].Next = &entries[2];
    entries[1].Address = {&strange_, sizeof(strange_)};
    entries[2].Address = {reinterpret_cast<sockaddr*>(&address_), sizeof(address_)};
  }

  sockaddr_in address_{};
  sockaddr strange_{};
  IP_ADAPTER_UNICAST_ADDRESS unicasts_[3] = {};
  IP_ADAPTER_DNS_SERVER_ADDRESS dnsServers_[3] = {};
  IP_ADAPTER_GATEWAY_ADDRESS gateways_[3] = {};
  IP_ADAPTER_ADDRESSES adapter_{};
};

TEST_F(OddRecordsTest, ArePassedOver) {
  EXPECT_EQ(GetUnicastAddressMatchingIPAddress(adapter_, L"192.0.2.1"), &unicasts_[2]);
  EXPECT_EQ(GetUnicastAddressForFamily(adapter_, L"AF_INET", true), &unicasts_[2]);
  EXPECT_EQ(GetUnicastAddressForFamily(adapter_, L"AF_INET6", true), nullptr);
  EXPECT_EQ(GetDnsServers(adapter_, L"AF_INET"), L"192.0.2.1");
  EXPECT_EQ(GetDnsServers(adapter_, L"AF_INET6"), L"");
  EXPECT_EQ(GetGatewayAddress(adapter_, L"AF_INET"), L"192.0.2.1");
  EXPECT_EQ(GetGatewayAddress(adapter_, L"AF_INET6"), L"");
}

TEST_F(OddRecordsTest, WithoutAnAddressIsToldInTheSearchForAnAdapter) {
  unicasts_[0].Next = &unicasts_[2];
  const LogScope log;
  EXPECT_EQ(GetAdapterWithMatchingIPAddress(&adapter_, L"192.0.2.1"), &adapter_);
  EXPECT_EQ(OwnLog().front(), InfoLine(L"GetAdapterWithMatchingIPAddress: Socket address is null "
                                       L"or the IP is not eligible DNS entry."));
}

class MacTest : public OneAdapterTest {
 protected:
  std::wstring MacOf(const char* mac) {
    Json::Value adapter = AdapterWith({});
    adapter["mac"] = mac;
    return GetMacAddressFromAdapter(&Open(adapter));
  }
};

TEST_F(MacTest, BytesHaveNoWidth) {
  EXPECT_EQ(MacOf("00:0c:29:AB:01:ff"), L"0C29AB1FF");
  EXPECT_EQ(MacOf(""), L"");
  EXPECT_EQ(MacOf("00:00:00:00:00:00:00:e0"), L"0000000E0");
}

TEST_F(MacTest, AbsentAdapterHasNone) {
  const LogScope log;
  EXPECT_EQ(GetMacAddressFromAdapter(nullptr), L"");
  EXPECT_THAT(OwnLog(),
              Contains(WarningLine(L"GetMacAddressFromAdapter: Adapter address is NULL.")));
}

class IpSelectionTest : public AdaptersTest {
 protected:
  static Json::Value WithMac(Json::Value adapter, const char* mac) {
    adapter["mac"] = mac;
    return adapter;
  }
  static std::wstring MacLine(const std::wstring& address, const std::wstring& mac) {
    return L"IsIpSelectionRequiredForMigration: IP address [" + address +
           L"] coressponds to mac [" + mac + L"]";
  }
};

TEST_F(IpSelectionTest, OneAddressIsChosenWithoutALookAtAdapters) {
  const LogScope log;
  EXPECT_FALSE(IsIpSelectionRequiredForMigration({L"192.0.2.1"}));
  EXPECT_FALSE(IsIpSelectionRequiredForMigration({}));
  const std::vector<Testing::LogLine> expected = {
      InfoLine(L"IsIpSelectionRequiredForMigration: Machine is configured with multiple adapters."),
      InfoLine(
          L"IsIpSelectionRequiredForMigration: Machine is configured with multiple adapters.")};
  EXPECT_EQ(OwnLog(), expected);
}

TEST_F(IpSelectionTest, SeveralAddressesOfOneAdapterNeedNoChoice) {
  SetAdapters({WithMac(AdapterWith({"192.0.2.1", "192.0.2.2"}), "00:0C:29:00:00:01")});
  const LogScope log;
  EXPECT_FALSE(IsIpSelectionRequiredForMigration({L"192.0.2.1", L"192.0.2.2"}));
  EXPECT_THAT(OwnLog(), Contains(InfoLine(MacLine(L"192.0.2.1", L"0C29001"))).Times(2));
  EXPECT_THAT(OwnLog(), Contains(InfoLine(MacLine(L"192.0.2.2", L"0C29001"))).Times(1));
  EXPECT_THAT(OwnLog(), Contains(InfoLine(L"IsIpSelectionRequiredForMigration: Kelvane Server "
                                          L"system name resolved to multiple IP addresses")));
}

TEST_F(IpSelectionTest, AddressesOfTwoAdaptersNeedAChoice) {
  SetAdapters({WithMac(AdapterWith({"192.0.2.1"}), "00:0C:29:00:00:01"),
               WithMac(AdapterWith({"192.0.2.2", "192.0.2.3"}), "00:0C:29:00:00:02")});
  const LogScope log;
  EXPECT_TRUE(IsIpSelectionRequiredForMigration({L"192.0.2.1", L"192.0.2.2", L"192.0.2.3"}));
  EXPECT_EQ(OwnLog().back(),
            InfoLine(L"IsIpSelectionRequiredForMigration: Kelvane server system name resolves to "
                     L"IPs corresponding tomultiple adapters"));
  // The first address that differs ends the comparison.
  EXPECT_THAT(OwnLog(), Not(Contains(InfoLine(MacLine(L"192.0.2.3", L"0C29002")))));
}

TEST_F(IpSelectionTest, AdaptersAreToldApartByTheMacTextAlone) {
  SetAdapters({WithMac(AdapterWith({"192.0.2.1"}), "01:11:00:00:00:00"),
               WithMac(AdapterWith({"192.0.2.2"}), "11:01:00:00:00:00")});
  EXPECT_FALSE(IsIpSelectionRequiredForMigration({L"192.0.2.1", L"192.0.2.2"}));
}

TEST_F(IpSelectionTest, AddressOfNoAdapterDiffersFromOneOfAnAdapter) {
  SetAdapters({WithMac(AdapterWith({"192.0.2.1"}), "00:0C:29:00:00:01")});
  EXPECT_TRUE(IsIpSelectionRequiredForMigration({L"192.0.2.1", L"192.0.2.9"}));
}

class ServersTest : public OneAdapterTest {};

TEST_F(ServersTest, DnsServersAndGatewaysAreListedByFamily) {
  Json::Value adapter = AdapterWith({});
  for (const char* text : {"192.0.2.53", "fec0:0:0:ffff::1%1", "192.0.2.54"}) {
    adapter["dnsServers"].append(text);
  }
  for (const char* text : {"fe80::1%12", "192.0.2.254"}) adapter["gateways"].append(text);
  const IP_ADAPTER_ADDRESSES& opened = Open(adapter);
  EXPECT_EQ(GetDnsServers(opened, L"AF_INET"), L"192.0.2.53, 192.0.2.54");
  EXPECT_EQ(GetDnsServers(opened, L"AF_INET6"), L"fec0:0:0:ffff::1%1");
  EXPECT_EQ(GetDnsServers(opened, L"AF_UNSPEC"), L"");
  EXPECT_EQ(GetGatewayAddress(opened, L"AF_INET"), L"192.0.2.254");
  EXPECT_EQ(GetGatewayAddress(opened, L"AF_INET6"), L"fe80::1%12");
}

TEST_F(ServersTest, AbsentOnesAreEmpty) {
  const IP_ADAPTER_ADDRESSES& opened = Open(AdapterWith({}));
  EXPECT_EQ(GetDnsServers(opened, L"AF_INET"), L"");
  EXPECT_EQ(GetGatewayAddress(opened, L"AF_INET6"), L"");
  EXPECT_EQ(GetDhcpServerAddress(opened, L"AF_INET"), L"");
  EXPECT_EQ(GetDhcpServerAddress(opened, L"AF_INET6"), L"");
}

TEST_F(ServersTest, ServerWithoutATextIsLoggedAndLeftOut) {
  Json::Value adapter = AdapterWith({});
  for (const char* text : {"192.0.2.53", "192.0.2.54"}) {
    adapter["dnsServers"].append(text);
    adapter["gateways"].append(text);
  }
  adapter["dhcpServer4"] = "192.0.2.67";
  for (const std::uint32_t call : {1u, 3u, 5u}) {
    machine_.PlanFault({.function = "GetNameInfoW", .call = call, .match = {}, .error = 11001});
  }
  const LogScope log;
  const IP_ADAPTER_ADDRESSES& opened = Open(adapter);
  EXPECT_EQ(GetDnsServers(opened, L"AF_INET"), L"192.0.2.54");
  EXPECT_EQ(GetGatewayAddress(opened, L"AF_INET"), L"192.0.2.54");
  EXPECT_EQ(GetDhcpServerAddress(opened, L"AF_INET"), L"");
  for (const wchar_t* line : {L"GetDnsServers: Failed to retrieve DNS Server.",
                              L"GetGatewayAddress: Failed to retrieve Gateway Address.",
                              L"GetDhcpServerAddress: Failed to retrieve Dhcp Server."}) {
    EXPECT_THAT(OwnLog(), Contains(ErrorLine(line)));
  }
}

TEST_F(ServersTest, DhcpServerIsToldWhetherOrNotDhcpIsOn) {
  Json::Value adapter = AdapterWith({});
  adapter["dhcpServer4"] = "192.0.2.67";
  adapter["dhcpServer6"] = "fe80::67%12";
  adapter["dhcp"] = false;
  const IP_ADAPTER_ADDRESSES& opened = Open(adapter);
  EXPECT_EQ(GetDhcpServerAddress(opened, L"AF_INET"), L"192.0.2.67");
  EXPECT_EQ(GetDhcpServerAddress(opened, L"AF_INET6"), L"fe80::67%12");
  EXPECT_EQ(GetDhcpServerAddress(opened, L"AF_UNSPEC"), L"");
}

TEST_F(ServersTest, DhcpServerOfAFamilyThatIsOffIsEmpty) {
  Json::Value adapter = AdapterWith({});
  adapter["dhcpServer4"] = "192.0.2.67";
  adapter["dhcpServer6"] = "fe80::67%12";
  adapter["ipv4"] = false;
  EXPECT_EQ(GetDhcpServerAddress(Open(adapter), L"AF_INET"), L"");
  EXPECT_EQ(GetDhcpServerAddress(Open(adapter), L"AF_INET6"), L"fe80::67%12");
  adapter["ipv4"] = true;
  adapter["ipv6"] = false;
  EXPECT_EQ(GetDhcpServerAddress(Open(adapter), L"AF_INET"), L"192.0.2.67");
  EXPECT_EQ(GetDhcpServerAddress(Open(adapter), L"AF_INET6"), L"");
}

TEST(GetAdapterTypeName, HasAWordForEachKnownType) {
  const std::map<DWORD, std::wstring> words = {
      {1, L"Other"}, {6, L"Ethernet"},  {9, L"Token Ring"}, {23, L"PPP"},       {24, L"Lookback"},
      {37, L"ATM"},  {71, L"Wireless"}, {131, L"Tunnel"},   {144, L"SerialBus"}};
  for (DWORD type = 0; type < 300; ++type) {
    const auto word = words.find(type);
    EXPECT_EQ(GetAdapterTypeName(type), word == words.end() ? L"Other" : word->second) << type;
  }
  EXPECT_EQ(GetAdapterTypeName(0xFFFFFFFF), L"Other");
}

}  // namespace
}  // namespace Halvard::Network
