#include "network/address_on_system.h"

#include "host/failing_allocation.h"
#include "machine/adapters.h"
#include "network_test.h"

namespace Halvard::Network {
namespace {

using Testing::AdapterWith;
using Testing::DhcpAdapterWith;
using ::testing::ElementsAre;
using Testing::ErrorLine;
using Testing::FailingAllocation;
using ::testing::IsEmpty;
using Testing::JsonList;
using Testing::NamesTest;
using Testing::OwnLog;

constexpr std::uint32_t kNoData = 232;

class AddressOnSystemTest : public NamesTest {
 protected:
  bool Ask(const char* text) {
    const Lab::SocketAddress address = *Lab::ParseAddress(text);
    return AddressOnSystem(&address.any, static_cast<int>(address.Length()), dhcp_);
  }
  static std::uint32_t Fetches() {
    return Lab::TheMachine().Faults().Calls("GetAdaptersAddresses");
  }

  bool dhcp_ = false;
};

TEST_F(AddressOnSystemTest, AddressOfAnAdapterIs) {
  machine_.Set("/adapters", JsonList({AdapterWith({"192.0.2.1"}),
                                      AdapterWith({"2001:db8::1", "192.0.2.2", "192.0.2.3"})}));
  const LogScope log;
  EXPECT_TRUE(Ask("192.0.2.1"));
  EXPECT_TRUE(Ask("192.0.2.3"));
  EXPECT_TRUE(Ask("2001:db8::1"));
  EXPECT_FALSE(dhcp_);
  EXPECT_THAT(OwnLog(), IsEmpty());
}

TEST_F(AddressOnSystemTest, AddressOfAnotherMachineIsnt) {
  EXPECT_FALSE(Ask("192.0.2.99"));
  EXPECT_FALSE(Ask("2001:db8::99"));
  EXPECT_FALSE(Ask("128.0.0.1"));
  EXPECT_FALSE(Ask("126.255.255.255"));
  EXPECT_FALSE(Ask("::2"));
  EXPECT_FALSE(Ask("::ffff:127.0.0.1"));
  EXPECT_FALSE(Ask("1::1"));
}

TEST_F(AddressOnSystemTest, LoopbackAlwaysIs) {
  machine_.Set("/adapters", JsonList({DhcpAdapterWith({"192.0.2.1", "2001:db8::1"})}));
  EXPECT_TRUE(Ask("127.0.0.1"));
  EXPECT_TRUE(Ask("127.255.255.254"));
  EXPECT_TRUE(Ask("::1"));
  EXPECT_FALSE(dhcp_);
}

TEST_F(AddressOnSystemTest, AddressNotForDnsIs) {
  Json::Value adapter = AdapterWith({"192.0.2.1"});
  adapter["addresses"][0]["dnsEligible"] = false;
  machine_.Set("/adapters", JsonList({adapter}));
  EXPECT_TRUE(Ask("192.0.2.1"));
}

TEST_F(AddressOnSystemTest, ScopeDoesntMatter) {
  machine_.Set("/adapters", JsonList({AdapterWith({"fe80::1%7"})}));
  EXPECT_TRUE(Ask("fe80::1"));
}

TEST_F(AddressOnSystemTest, TellsDhcpOfAnyAdapterThatHasTheAddress) {
  machine_.Set("/adapters",
               JsonList({AdapterWith({"192.0.2.1"}), DhcpAdapterWith({"192.0.2.1", "192.0.2.2"}),
                         AdapterWith({"192.0.2.3"})}));
  EXPECT_TRUE(Ask("192.0.2.3"));
  EXPECT_FALSE(dhcp_);
  EXPECT_TRUE(Ask("192.0.2.1"));
  EXPECT_TRUE(dhcp_);
  // What was set stays, also for an address without DHCP.
  EXPECT_TRUE(Ask("192.0.2.3"));
  EXPECT_TRUE(dhcp_);
}

TEST_F(AddressOnSystemTest, ReadsTheAdaptersAnewEachTime) {
  Json::Value later = AdapterWith({"192.0.2.2"});
  later["firstCall"] = 2;
  machine_.Set("/adapters", JsonList({AdapterWith({"192.0.2.1"}), later}));
  EXPECT_FALSE(Ask("192.0.2.2"));
  EXPECT_TRUE(Ask("192.0.2.2"));
  EXPECT_EQ(Fetches(), 2u);
}

TEST_F(AddressOnSystemTest, AsksAgainAsOftenAsTheListOutgrowsTheBuffer) {
  // Too many for the first buffer, and more with each of the next calls.
  Json::Value adapters(Json::arrayValue);
  for (unsigned i = 0; i < 300; ++i) {
    Json::Value adapter = AdapterWith({"198.51.100.1", "198.51.100.2"});
    if (i >= 100) adapter["firstCall"] = i >= 200 ? 3 : 2;
    adapters.append(adapter);
  }
  adapters[299]["addresses"].append(AdapterWith({"192.0.2.2"})["addresses"][0]);
  machine_.Set("/adapters", adapters);
  EXPECT_TRUE(Ask("192.0.2.2"));
  EXPECT_EQ(Fetches(), 4u);
}

TEST_F(AddressOnSystemTest, ListThatShrinksIsReadAsItIs) {
  Json::Value adapters(Json::arrayValue);
  for (unsigned i = 0; i < 200; ++i) adapters.append(AdapterWith({"198.51.100.1"}));
  for (unsigned i = 1; i < 200; ++i) adapters[i]["lastCall"] = 1;
  machine_.Set("/adapters", adapters);
  EXPECT_TRUE(Ask("198.51.100.1"));
  EXPECT_EQ(Fetches(), 2u);
}

TEST_F(AddressOnSystemTest, FindsOneOfHundredsOfAdaptersAndAddresses) {
  Json::Value adapters(Json::arrayValue);
  for (unsigned i = 0; i < 400; ++i) {
    Json::Value adapter = AdapterWith({});
    for (unsigned j = 0; j < 5; ++j) {
      Json::Value address;
      address["address"] =
          "10." + std::to_string(i / 256) + "." + std::to_string(i % 256) + "." + std::to_string(j);
      adapter["addresses"].append(address);
    }
    adapters.append(adapter);
  }
  machine_.Set("/adapters", adapters);
  EXPECT_TRUE(Ask("10.1.143.4"));
  EXPECT_FALSE(Ask("10.1.143.5"));
}

TEST_F(AddressOnSystemTest, IsFalseWithoutMemory) {
  const LogScope log;
  const FailingAllocation failing;
  EXPECT_FALSE(Ask("192.0.2.10"));
  EXPECT_THAT(OwnLog(), ElementsAre(ErrorLine(L"AddressOnSystem: Failed to alloc memory")));
}

TEST_F(AddressOnSystemTest, IsFalseWithoutAdapters) {
  Refuse("GetAdaptersAddresses", 1228);
  const LogScope log;
  EXPECT_FALSE(Ask("127.0.0.1"));
  EXPECT_THAT(OwnLog(), ElementsAre(ErrorLine(L"AddressOnSystem: Failed to get adapter address "
                                              L"information: 1228")));
}

TEST_F(AddressOnSystemTest, AsksAgainOfASystemThatWantsNoMoreThanItGot) {
  constexpr std::uint32_t kBufferOverflow = 111;
  machine_.PlanFault({.function = "GetAdaptersAddresses", .call = 1, .error = kBufferOverflow});
  machine_.Set("/adapters", JsonList({AdapterWith({"192.0.2.1"})}));
  EXPECT_TRUE(Ask("192.0.2.1"));
  EXPECT_EQ(Fetches(), 2u);
}

TEST_F(AddressOnSystemTest, LoopbackOfAFamilyThatNoAdapterHasIsntThere) {
  Json::Value adapter = AdapterWith({"192.0.2.1"});
  adapter["ipv6"] = false;
  machine_.Set("/adapters", JsonList({adapter}));
  const LogScope log;
  EXPECT_FALSE(Ask("::1"));
  EXPECT_THAT(OwnLog(), ElementsAre(ErrorLine(L"AddressOnSystem: Failed to get adapter address "
                                              L"information: " +
                                              std::to_wstring(kNoData))));
}

TEST_F(AddressOnSystemTest, PassesOverAddressesOfAnotherLength) {
  machine_.Set("/adapters", JsonList({AdapterWith({"192.0.2.1"})}));
  const Lab::SocketAddress address = *Lab::ParseAddress("192.0.2.1");
  const LogScope log;
  EXPECT_FALSE(AddressOnSystem(&address.any, 28, dhcp_));
  EXPECT_THAT(
      OwnLog(),
      ElementsAre(ErrorLine(L"AddressOnSystem: sockaddrs are not same length match: 16 vs 28")));
}

}  // namespace
}  // namespace Halvard::Network
