#include "machine/address_map.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

namespace Lab {

void PrintTo(const HostPort& address, std::ostream* stream) {
  *stream << address.host << " port " << address.port;
}

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

Json::Value Members(std::initializer_list<std::pair<const char*, const char*>> entries) {
  Json::Value members(Json::objectValue);
  for (const auto& [from, to] : entries) members[from] = to;
  return members;
}

TEST(ParseHostPort, TakesBothFamiliesAndNames) {
  EXPECT_EQ(ParseHostPort("192.0.2.20:22"), (HostPort{"192.0.2.20", 22}));
  EXPECT_EQ(ParseHostPort("[2001:DB8:0::1]:636"), (HostPort{"2001:db8::1", 636}));
  EXPECT_EQ(ParseHostPort("KV.Example:65535"), (HostPort{"kv.example", 65535}));
}

TEST(ParseHostPort, RefusesWhatIsNoAddressAndPort) {
  for (const char* text : {"", ":22", "192.0.2.20", "192.0.2.20:", "192.0.2.20:0", "a:65536",
                           "a:22x", "2001:db8::1:22", "[192.0.2.20]:22", "[::1:22", "a b:22"}) {
    EXPECT_EQ(ParseHostPort(text), std::nullopt) << text;
  }
}

TEST(AddressMap, MappedAddressIsElsewhereAndAnyOtherWhereItIs) {
  const AddressMap map(Members({{"192.0.2.20:22", "127.0.0.1:20022"}}));
  EXPECT_EQ(map.RealOf({"192.0.2.20", 22}), (HostPort{"127.0.0.1", 20022}));
  EXPECT_EQ(map.RealOf({"192.0.2.20", 23}), (HostPort{"192.0.2.20", 23}));
}

TEST(AddressMap, AddressIsKnownInAnySpelling) {
  const AddressMap map(Members({{"[2001:DB8:0:0::1]:636", "[::1]:40636"}}));
  EXPECT_THAT(map.RealAddressesOf("2001:0db8::0001", 636), ElementsAre(HostPort{"::1", 40636}));
}

TEST(AddressMap, NameWithAnEntryHasThatAlone) {
  const AddressMap map(Members({{"Localhost:636", "127.0.0.1:40636"}}));
  EXPECT_THAT(map.RealAddressesOf("LOCALHOST", 636), ElementsAre(HostPort{"127.0.0.1", 40636}));
}

TEST(AddressMap, LocalhostIsLoopbackOfBothFamiliesEachMappedForItself) {
  const AddressMap map(Members({{"127.0.0.1:636", "127.0.0.1:40636"}}));
  EXPECT_THAT(map.RealAddressesOf("localhost", 636),
              ElementsAre(HostPort{"::1", 636}, HostPort{"127.0.0.1", 40636}));
}

TEST(AddressMap, OtherNamesAreUnknownOnTheMachine) {
  EXPECT_THAT(AddressMap().RealAddressesOf("kv.example", 636), IsEmpty());
}

TEST(AddressMap, EntryThatCannotBeIsNamedByItsPlace) {
  const auto faultOf = [](const Json::Value& members) -> std::string {
    try {
      AddressMap map(members);
    } catch (const std::invalid_argument& fault) {
      return fault.what();
    }
    return {};
  };
  EXPECT_EQ(faultOf(Members({{"a:99999", "127.0.0.1:1"}})),
            "/addressMap: expected an address or name, a colon and a port: a:99999");
  EXPECT_EQ(faultOf(Members({{"a:1", "name:1"}})),
            "/addressMap/a:1: expected an address and a port");
  EXPECT_EQ(faultOf(Members({{"a:1", "127.0.0.1:99999"}})),
            "/addressMap/a:1: expected an address and a port");
}

}  // namespace
}  // namespace Lab
