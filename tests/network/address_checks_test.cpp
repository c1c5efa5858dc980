#include "network/address_checks.h"

#include <arpa/inet.h>

#include "host/failing_allocation.h"
#include "machine/adapters.h"
#include "network_test.h"

namespace Halvard::Network {

static bool operator==(const AddressCheckCounts& a, const AddressCheckCounts& b) {
  return a.total == b.total && a.onSystem == b.onSystem && a.dhcp == b.dhcp &&
         a.primaryOnSystem == b.primaryOnSystem && a.loopback == b.loopback;
}

static void PrintTo(const AddressCheckCounts& counts, std::ostream* out) {
  *out << "{" << counts.total << ", " << counts.onSystem << ", " << counts.dhcp << ", "
       << counts.primaryOnSystem << ", " << counts.loopback << "}";
}

namespace {

using Testing::AdapterWith;
using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using Testing::ErrorLine;
using Testing::FailingAllocation;
using Testing::InfoLine;
using ::testing::IsEmpty;
using Testing::JsonList;
using Testing::LogLine;
using Testing::NamesTest;
using ::testing::Not;
using Testing::OwnLog;
using Testing::WarningLine;

constexpr std::uint32_t kNoData = 232;
constexpr std::uint32_t kModuleNotFound = 126;
constexpr std::uint32_t kFunctionNotFound = 127;
constexpr std::uint32_t kInvalidParameter = 0xC000000D;

Json::Value DhcpAdapterWith(std::initializer_list<const char*> addresses) {
  Json::Value adapter = AdapterWith(addresses);
  adapter["dhcp"] = true;
  return adapter;
}

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

class CheckHostNameOrAddrTest : public NamesTest {
 protected:
  CheckHostNameOrAddrTest() {
    machine_.Set("/adapters", JsonList({AdapterWith({"192.0.2.1", "2001:db8::1"}),
                                        DhcpAdapterWith({"192.0.2.2", "2001:db8::2"})}));
  }

  bool CheckName(const std::wstring& name, bool ipv4 = true) {
    counts_ = {};
    return CheckHostNameOrAddr(name, false, ipv4, &counts_);
  }
  bool CheckAddress(const std::wstring& name, bool ipv4 = true) {
    counts_ = {};
    return CheckHostNameOrAddr(name, true, ipv4, &counts_);
  }

  AddressCheckCounts counts_;
};

TEST_F(CheckHostNameOrAddrTest, UnknownNameFailsTheLookup) {
  const LogScope log;
  EXPECT_FALSE(CheckName(L"nobody.example"));
  EXPECT_FALSE(CheckName(L"nobody.example", false));
  EXPECT_THAT(
      OwnLog(),
      ElementsAre(InfoLine(L"CheckHostNameOrAddr: Failed to lookup \"nobody.example\" as an IPv4 "
                           L"address or name: 11001"),
                  InfoLine(L"CheckHostNameOrAddr: Failed to lookup \"nobody.example\" as an IPv6 "
                           L"address or name: 11001")));
}

TEST_F(CheckHostNameOrAddrTest, NameFailsAnAddressOnlyCheck) {
  SetHost("kv.example", {"192.0.2.1"});
  const LogScope log;
  EXPECT_FALSE(CheckAddress(L"kv.example"));
  EXPECT_THAT(OwnLog(),
              ElementsAre(InfoLine(L"CheckHostNameOrAddr: Failed to lookup \"kv.example\" as an "
                                   L"IPv4 address-only: 11001")));
}

TEST_F(CheckHostNameOrAddrTest, AddressOfTheOtherFamilyFails) {
  EXPECT_FALSE(CheckAddress(L"2001:db8::1", true));
  EXPECT_FALSE(CheckAddress(L"192.0.2.1", false));
  EXPECT_FALSE(CheckAddress(L"::ffff:192.0.2.1", true));
}

TEST_F(CheckHostNameOrAddrTest, OwnAddressCounts) {
  const LogScope log;
  EXPECT_TRUE(CheckAddress(L"192.0.2.1"));
  EXPECT_EQ(counts_, (AddressCheckCounts{1, 1, 0, true, false}));
  EXPECT_THAT(
      OwnLog(),
      ElementsAre(InfoLine(L"CheckHostNameOrAddr: \"192.0.2.1\" is a canonical IPv4 address"),
                  InfoLine(L"CheckHostNameOrAddr: 1 of 1 IPv4 addresses are on the system "
                           L"(primary is okay)"),
                  InfoLine(L"CheckHostNameOrAddr: IPv4 is consistent and usable"),
                  WarningLine(L"CheckHostNameOrAddr: address used instead of name")));
}

TEST_F(CheckHostNameOrAddrTest, AddressFromDhcpCounts) {
  const LogScope log;
  EXPECT_TRUE(CheckAddress(L"2001:db8::2", false));
  EXPECT_EQ(counts_, (AddressCheckCounts{1, 1, 1, true, false}));
  EXPECT_THAT(
      OwnLog(),
      ElementsAre(InfoLine(L"CheckHostNameOrAddr: \"2001:db8::2\" is a canonical IPv6 address"),
                  InfoLine(L"CheckHostNameOrAddr: 1 of 1 IPv6 addresses are on the system "
                           L"(primary is okay)"),
                  InfoLine(L"CheckHostNameOrAddr: IPv6 is consistent and usable"),
                  WarningLine(L"CheckHostNameOrAddr: address used instead of name"),
                  WarningLine(L"CheckHostNameOrAddr: 1 of the IPv6 address(es) were assigned by "
                              L"DHCP")));
}

TEST_F(CheckHostNameOrAddrTest, AddressOfAnotherMachineAnswersTrueWithoutAPrimary) {
  const LogScope log;
  EXPECT_TRUE(CheckAddress(L"192.0.2.99"));
  EXPECT_EQ(counts_, (AddressCheckCounts{1, 0, 0, false, false}));
  EXPECT_THAT(
      OwnLog(),
      ElementsAre(InfoLine(L"CheckHostNameOrAddr: \"192.0.2.99\" is a canonical IPv4 address"),
                  InfoLine(L"CheckHostNameOrAddr: 0 of 1 IPv4 addresses are on the system "
                           L"(primary is invalid)"),
                  ErrorLine(L"CheckHostNameOrAddr: None of the 1 IPv4 addresses are on the "
                            L"system")));
}

TEST_F(CheckHostNameOrAddrTest, LoopbackIsMarked) {
  const LogScope log;
  EXPECT_TRUE(CheckAddress(L"::1", false));
  EXPECT_EQ(counts_, (AddressCheckCounts{1, 1, 0, true, true}));
  EXPECT_THAT(OwnLog(),
              Contains(InfoLine(L"CheckHostNameOrAddr: Primary IPv6 address is loopback")));
  EXPECT_TRUE(CheckAddress(L"127.3.2.1"));
  EXPECT_EQ(counts_, (AddressCheckCounts{1, 1, 0, true, true}));
}

struct Spelling {
  const wchar_t* text;
  bool ipv4;
  const wchar_t* code;
  const wchar_t* remainder;
};

TEST_F(CheckHostNameOrAddrTest, SpellingThatIsNotCanonicalAnswersTrueWithoutCountsAndIsLogged) {
  // 192.0.2.1 is on the machine: it is the spelling that stands against it.
  for (const Spelling& row :
       {Spelling{L"127.1", true, L"0xc000000d", L""},
        Spelling{L"0x7f.1", true, L"0xc000000d", L"7f.1"},
        Spelling{L"192.0.513", true, L"0xc000000d", L""},
        Spelling{L"0xC0.0.2.1", true, L"0xc000000d", L"C0.0.2.1"},
        Spelling{L"192.0.2.01", true, L"0xc000000d", L"1"},
        Spelling{L"3221225985", true, L"0xc000000d", L""},
        Spelling{L"fe80::1%3", false, L"0x0", L"%3"},
        Spelling{L"[2001:db8::1]", false, L"0xc000000d", L"[2001:db8::1]"},
        Spelling{L"[2001:db8::1]:443", false, L"0xc000000d", L"[2001:db8::1]:443"}}) {
    const LogScope log;
    EXPECT_TRUE(CheckAddress(row.text, row.ipv4)) << row.text;
    EXPECT_EQ(counts_, AddressCheckCounts{}) << row.text;
    const std::wstring line = L"CheckHostNameOrAddr: \"" + std::wstring(row.text) +
                              L"\" isn't a canonical IPv" + (row.ipv4 ? L"4" : L"6") +
                              L" address: " + row.code + L" remainder \"" + row.remainder + L"\"";
    EXPECT_EQ(OwnLog().back(), ErrorLine(line));
    EXPECT_EQ(Lab::TheMachine().Faults().Calls("GetAdaptersAddresses"), 0u);
  }
}

TEST_F(CheckHostNameOrAddrTest, AbsentRemainderIsLoggedAsNothing) {
  Refuse("RtlIpv6StringToAddressW", kInvalidParameter);
  const LogScope log;
  EXPECT_TRUE(CheckAddress(L"2001:db8::1", false));
  EXPECT_EQ(counts_, AddressCheckCounts{});
  EXPECT_THAT(OwnLog(),
              ElementsAre(ErrorLine(L"CheckHostNameOrAddr: \"2001:db8::1\" isn't a canonical IPv6 "
                                    L"address: 0xc000000d remainder \"\"")));
}

TEST_F(CheckHostNameOrAddrTest, WithoutTheParsersEachSpellingIsCanonical) {
  for (const char* function : {"LoadLibraryW", "GetProcAddress"}) {
    machine_.Set("/faults", Json::Value(Json::arrayValue));
    Refuse(function, kModuleNotFound, 1);
    const LogScope log;
    EXPECT_TRUE(CheckAddress(L"192.0.513"));
    EXPECT_EQ(counts_, (AddressCheckCounts{1, 1, 0, true, false}));
    EXPECT_THAT(OwnLog(), Contains(ErrorLine(L"CheckHostNameOrAddr: Couldn't load address "
                                             L"validation functions")));
    EXPECT_THAT(OwnLog(),
                Contains(InfoLine(L"CheckHostNameOrAddr: IPv4 is consistent and usable")));
  }
}

TEST_F(CheckHostNameOrAddrTest, BothParsersHaveToBeThere) {
  Refuse("GetProcAddress", kFunctionNotFound, 2);
  const LogScope log;
  EXPECT_TRUE(CheckAddress(L"192.0.2.1"));
  EXPECT_THAT(OwnLog(), Contains(ErrorLine(L"CheckHostNameOrAddr: Couldn't load address "
                                           L"validation functions")));
}

TEST_F(CheckHostNameOrAddrTest, LibraryOfTheParsersIsReleased) {
  EXPECT_TRUE(CheckAddress(L"192.0.2.1"));
  EXPECT_EQ(Lab::TheMachine().Faults().Calls("LoadLibraryW"), 1u);
  EXPECT_EQ(Lab::TheMachine().Faults().Calls("FreeLibrary"), 1u);
}

TEST_F(CheckHostNameOrAddrTest, NameIsNotParsed) {
  SetHost("kv.example", {"192.0.2.1"});
  EXPECT_TRUE(CheckName(L"kv.example"));
  EXPECT_EQ(Lab::TheMachine().Faults().Calls("LoadLibraryW"), 0u);
}

TEST_F(CheckHostNameOrAddrTest, NameWithSomeAddressesHereAndThePrimaryAmongThem) {
  SetHost("kv.example", {"192.0.2.1", "192.0.2.99", "192.0.2.2"});
  const LogScope log;
  EXPECT_TRUE(CheckName(L"kv.example"));
  EXPECT_EQ(counts_, (AddressCheckCounts{3, 2, 1, true, false}));
  EXPECT_THAT(
      OwnLog(),
      ElementsAre(InfoLine(L"CheckHostNameOrAddr: 2 of 3 IPv4 addresses are on the system "
                           L"(primary is okay)"),
                  WarningLine(L"CheckHostNameOrAddr: Only 2 of 3 IPv4 addresses are on the system"),
                  WarningLine(L"CheckHostNameOrAddr: 1 of the IPv4 address(es) were assigned by "
                              L"DHCP")));
}

TEST_F(CheckHostNameOrAddrTest, NameWithSomeAddressesHereButNotThePrimary) {
  SetHost("kv.example", {"192.0.2.99", "192.0.2.1"});
  const LogScope log;
  EXPECT_TRUE(CheckName(L"kv.example"));
  EXPECT_EQ(counts_, (AddressCheckCounts{2, 1, 0, false, false}));
  EXPECT_THAT(
      OwnLog(),
      ElementsAre(InfoLine(L"CheckHostNameOrAddr: 1 of 2 IPv4 addresses are on the system "
                           L"(primary is invalid)"),
                  ErrorLine(L"CheckHostNameOrAddr: Primary lookup IPv4 address was not found on "
                            L"the system")));
}

TEST_F(CheckHostNameOrAddrTest, LoopbackInALaterPlaceMarksNothing) {
  SetHost("kv.example", {"192.0.2.1", "127.0.0.1"});
  EXPECT_TRUE(CheckName(L"kv.example"));
  EXPECT_EQ(counts_, (AddressCheckCounts{2, 2, 0, true, false}));
}

TEST_F(CheckHostNameOrAddrTest, FirstAddressElsewhereKeepsLoopbackFromBeingMarked) {
  SetHost("kv.example", {"192.0.2.99", "127.0.0.1"});
  EXPECT_TRUE(CheckName(L"kv.example"));
  EXPECT_EQ(counts_, (AddressCheckCounts{2, 1, 0, false, false}));
}

TEST_F(CheckHostNameOrAddrTest, AnswerWithoutAddressesFails) {
  SetHost("empty.example", {});
  SetHost("192.0.2.50", {});
  const LogScope log;
  EXPECT_FALSE(CheckName(L"empty.example"));
  EXPECT_FALSE(CheckAddress(L"192.0.2.50"));
  EXPECT_EQ(counts_, AddressCheckCounts{});
  EXPECT_THAT(OwnLog(), Contains(ErrorLine(L"CheckHostNameOrAddr: IPv4 addr/name was not found")));
  EXPECT_THAT(OwnLog(), Contains(ErrorLine(L"CheckHostNameOrAddr: IPv4 addr was not found")));
  EXPECT_THAT(OwnLog(), Contains(InfoLine(L"CheckHostNameOrAddr: 0 of 0 IPv4 addresses are on the "
                                          L"system (primary is invalid)")));
}

TEST_F(CheckHostNameOrAddrTest, SeveralAddressesFailAnAddressOnlyCheck) {
  SetHost("192.0.2.1", {"192.0.2.1", "192.0.2.2"});
  const LogScope log;
  EXPECT_FALSE(CheckAddress(L"192.0.2.1"));
  EXPECT_EQ(counts_, AddressCheckCounts{});
  EXPECT_THAT(OwnLog(), Contains(ErrorLine(L"CheckHostNameOrAddr: Received multiple IPv4 addresses "
                                           L"for an address-only check of 192.0.2.1: 2")));
}

TEST_F(CheckHostNameOrAddrTest, CountsAreAddedAndMarksNeverCleared) {
  counts_ = {10, 20, 30, true, true};
  EXPECT_TRUE(CheckHostNameOrAddr(L"192.0.2.99", true, true, &counts_));
  EXPECT_EQ(counts_, (AddressCheckCounts{11, 20, 30, true, true}));
  EXPECT_TRUE(CheckHostNameOrAddr(L"192.0.2.2", true, true, &counts_));
  EXPECT_EQ(counts_, (AddressCheckCounts{12, 21, 31, true, true}));
}

TEST_F(CheckHostNameOrAddrTest, CountsMayBeAbsent) {
  EXPECT_TRUE(CheckHostNameOrAddr(L"192.0.2.1", true, true, nullptr));
}

TEST_F(CheckHostNameOrAddrTest, NameOfAThousandCharactersFailsTheLookup) {
  EXPECT_FALSE(CheckName(std::wstring(1000, L'a')));
  EXPECT_FALSE(CheckAddress(std::wstring(1000, L'a')));
  EXPECT_FALSE(CheckAddress(std::wstring(1000, L'1')));
}

class IsFqdnTest : public NamesTest {
 protected:
  IsFqdnTest() {
    machine_.Set("/adapters", JsonList({AdapterWith({"192.0.2.1", "2001:db8::1"}),
                                        DhcpAdapterWith({"192.0.2.2", "2001:db8::2"})}));
    machine_.Set("/fileVersions", Version("6.2.9200.16384"));
  }

  static Json::Value Version(const char* version) {
    Json::Value versions;
    versions["C:\\Windows\\system32\\dnsapi.dll"] = version;
    return versions;
  }
  bool Ask(bool ipv4 = true) {
    counts_ = {};
    return IsFQDN(L"kv.example", ipv4, &counts_);
  }
  static std::uint32_t Flushes() {
    return Lab::TheMachine().Faults().Calls("DnsFlushResolverCache");
  }

  AddressCheckCounts counts_;
};

TEST_F(IsFqdnTest, AddressOfTheMachineCounts) {
  SetDns("kv.example", JsonList({Record("A", "192.0.2.1"), Record("AAAA", "2001:db8::2")}));
  const LogScope log;
  EXPECT_TRUE(Ask());
  EXPECT_EQ(counts_, (AddressCheckCounts{1, 1, 0, true, false}));
  EXPECT_TRUE(Ask(false));
  EXPECT_EQ(counts_, (AddressCheckCounts{1, 1, 1, true, false}));
  EXPECT_THAT(OwnLog(), Contains(InfoLine(L"IsFQDN: FQDN check says 1 of 1 IPv4 addresses are on "
                                          L"the system (primary is okay)")));
  EXPECT_THAT(OwnLog(), Contains(InfoLine(L"IsFQDN: FQDN check says 1 of 1 IPv6 addresses are on "
                                          L"the system (primary is okay)")));
}

TEST_F(IsFqdnTest, AddressOfAnotherMachineAnswersTrue) {
  SetDns("kv.example", JsonList({Record("A", "192.0.2.99"), Record("A", "192.0.2.1")}));
  const LogScope log;
  EXPECT_TRUE(Ask());
  EXPECT_EQ(counts_, (AddressCheckCounts{2, 1, 0, false, false}));
  EXPECT_THAT(OwnLog(), Contains(InfoLine(L"IsFQDN: FQDN check says 1 of 2 IPv4 addresses are on "
                                          L"the system (primary is invalid)")));
}

TEST_F(IsFqdnTest, LoopbackIsOnTheSystemButNeverMarked) {
  SetDns("kv.example", JsonList({Record("A", "127.0.0.1")}));
  EXPECT_TRUE(Ask());
  EXPECT_EQ(counts_, (AddressCheckCounts{1, 1, 0, true, false}));
}

TEST_F(IsFqdnTest, AnswerThatBeginsWithAnAliasHasNoPrimary) {
  SetDns("kv.example", JsonList({Record("CNAME", "real.example")}));
  SetDns("real.example", JsonList({Record("A", "192.0.2.1"), Record("A", "192.0.2.2")}));
  const LogScope log;
  EXPECT_TRUE(Ask());
  EXPECT_EQ(counts_, (AddressCheckCounts{2, 2, 1, false, false}));
  for (const LogLine& line : OwnLog()) EXPECT_NE(line.level, L'W') << line.message;
}

TEST_F(IsFqdnTest, RecordsOfOtherTypesAreWarnedOf) {
  SetDns("kv.example", JsonList({Record(46, "0001"), Record("A", "192.0.2.1"), Record(65535, "")}));
  const LogScope log;
  EXPECT_TRUE(Ask());
  EXPECT_EQ(counts_, (AddressCheckCounts{1, 1, 0, false, false}));
  EXPECT_THAT(OwnLog(), Contains(WarningLine(L"IsFQDN: Unhandled DNS type in answer: 46")));
  EXPECT_THAT(OwnLog(), Contains(WarningLine(L"IsFQDN: Unhandled DNS type in answer: 65535")));
}

TEST_F(IsFqdnTest, RecordsOfTheOtherFamilyArePassedOverInSilence) {
  Json::Value other = Record("AAAA", "2001:db8::1");
  other["questions"] = JsonList({"A"});
  SetDns("kv.example", JsonList({other}));
  const LogScope log;
  EXPECT_TRUE(Ask());
  EXPECT_EQ(counts_, AddressCheckCounts{});
  EXPECT_THAT(OwnLog(), Contains(InfoLine(L"IsFQDN: FQDN check says 0 of 0 IPv4 addresses are on "
                                          L"the system (primary is invalid)")));
  for (const LogLine& line : OwnLog()) EXPECT_NE(line.level, L'W') << line.message;
}

TEST_F(IsFqdnTest, RecordsOutsideTheAnswerDontCount) {
  Json::Value authority = Record("A", "192.0.2.1");
  authority["section"] = "authority";
  Json::Value additional = Record(41, "00");
  additional["section"] = "additional";
  SetDns("kv.example", JsonList({authority, Record("A", "192.0.2.2"), additional}));
  const LogScope log;
  EXPECT_TRUE(Ask());
  // The first record of the reply wasn't an address of the answer.
  EXPECT_EQ(counts_, (AddressCheckCounts{1, 1, 1, false, false}));
  for (const LogLine& line : OwnLog()) EXPECT_NE(line.level, L'W') << line.message;
}

TEST_F(IsFqdnTest, AddressRecordsThatAreTooShortAreNone) {
  SetDns("kv.example", JsonList({Record(1, "c000"), Record(1, ""), Record(28, "2001")}));
  EXPECT_TRUE(Ask());
  EXPECT_EQ(counts_, AddressCheckCounts{});
  EXPECT_TRUE(Ask(false));
  EXPECT_EQ(counts_, AddressCheckCounts{});
}

TEST_F(IsFqdnTest, LongAnswersAreCountedToTheEnd) {
  Json::Value records(Json::arrayValue);
  for (int i = 0; i < 500; ++i) records.append(Record("A", i % 2 == 0 ? "192.0.2.1" : "192.0.2.9"));
  SetDns("kv.example", records);
  EXPECT_TRUE(Ask());
  EXPECT_EQ(counts_, (AddressCheckCounts{500, 250, 0, true, false}));
}

struct DnsFailure {
  const char* answer;
  const wchar_t* code;
};

TEST_F(IsFqdnTest, QueryThatFailsIsLoggedWithItsCode) {
  machine_.Set("/clock/speed", 100000);
  for (const DnsFailure& row :
       {DnsFailure{"formatError", L"9001"}, DnsFailure{"serverFailure", L"9002"},
        DnsFailure{"notImplemented", L"9004"}, DnsFailure{"refused", L"9005"},
        DnsFailure{"silence", L"1460"}}) {
    SetDns("kv.example", row.answer);
    const LogScope log;
    EXPECT_FALSE(Ask()) << row.answer;
    EXPECT_EQ(counts_, AddressCheckCounts{});
    EXPECT_THAT(OwnLog(), Contains(ErrorLine(L"IsFQDN: IPv4 FQDN check for kv.example failed: " +
                                             std::wstring(row.code))));
  }
}

TEST_F(IsFqdnTest, UnknownNameFails) {
  const LogScope log;
  EXPECT_FALSE(Ask(false));
  EXPECT_THAT(OwnLog(),
              Contains(ErrorLine(L"IsFQDN: IPv6 FQDN check for kv.example failed: 9003")));
}

TEST_F(IsFqdnTest, NameWithoutSuchRecordsFails) {
  SetDns("kv.example", JsonList({Record("AAAA", "2001:db8::1")}));
  const LogScope log;
  EXPECT_FALSE(Ask());
  EXPECT_THAT(OwnLog(),
              Contains(ErrorLine(L"IsFQDN: IPv4 FQDN check for kv.example failed: 9501")));
}

TEST_F(IsFqdnTest, HostsFileIsNotAsked) {
  SetHost("kv.example", {"192.0.2.1"});
  EXPECT_FALSE(Ask());
}

TEST_F(IsFqdnTest, SuffixIsNotAppended) {
  SetDns("kv.example.corp.example", JsonList({Record("A", "192.0.2.1")}));
  EXPECT_FALSE(Ask());
}

TEST_F(IsFqdnTest, NameOfAThousandCharactersFails) {
  EXPECT_FALSE(IsFQDN(std::wstring(1000, L'a'), true, nullptr));
}

TEST_F(IsFqdnTest, RecordsAreFreedAfterSuccessAndFailure) {
  SetDns("kv.example", JsonList({Record("CNAME", "nowhere.example")}));
  EXPECT_FALSE(Ask());
  EXPECT_EQ(Lab::TheMachine().Faults().Calls("DnsFree"), 1u);
  SetDns("kv.example", JsonList({Record("A", "192.0.2.1")}));
  EXPECT_TRUE(Ask());
  EXPECT_EQ(Lab::TheMachine().Faults().Calls("DnsFree"), 1u);
}

TEST_F(IsFqdnTest, CountsAreAddedAndLoopbackLeftAlone) {
  SetDns("kv.example", JsonList({Record("A", "192.0.2.2")}));
  counts_ = {10, 20, 30, false, true};
  EXPECT_TRUE(IsFQDN(L"kv.example", true, &counts_));
  EXPECT_EQ(counts_, (AddressCheckCounts{11, 21, 31, true, true}));
  EXPECT_TRUE(IsFQDN(L"kv.example", true, nullptr));
}

TEST_F(IsFqdnTest, CacheIsFlushedOnOneVersionOfTheResolverOnly) {
  SetDns("kv.example", JsonList({Record("A", "192.0.2.1")}));
  for (const char* version : {"6.0.6002.18005", "6.2.9200.16384", "6.3.9600.1", "10.0.17763.1",
                              "5.1.2600.0", "16.1.0.0"}) {
    machine_.Set("/fileVersions", Version(version));
    EXPECT_TRUE(Ask());
    EXPECT_EQ(Flushes(), 0u) << version;
  }
  machine_.Set("/fileVersions", Version("6.1.7601.17570"));
  const LogScope log;
  EXPECT_TRUE(Ask());
  EXPECT_FALSE(Ask(false));
  EXPECT_EQ(Flushes(), 2u);
  EXPECT_THAT(OwnLog(), Contains(InfoLine(L"IsFQDN: DNS cache flushed")));
}

TEST_F(IsFqdnTest, CacheIsFlushedAfterAQueryThatFailed) {
  machine_.Set("/fileVersions", Version("6.1.7601.17570"));
  const LogScope log;
  EXPECT_FALSE(Ask());
  EXPECT_EQ(Flushes(), 1u);
  const std::vector<LogLine> lines = OwnLog();
  ASSERT_GE(lines.size(), 2u);
  EXPECT_EQ(lines[lines.size() - 2], InfoLine(L"IsFQDN: DNS cache flushed"));
  EXPECT_EQ(lines.back(), ErrorLine(L"IsFQDN: IPv4 FQDN check for kv.example failed: 9003"));
}

struct FlushFailure {
  const char* function;
  LogLine line;
};

TEST_F(IsFqdnTest, FailedFlushIsLoggedAndChangesNothing) {
  SetDns("kv.example", JsonList({Record("A", "192.0.2.1")}));
  machine_.Set("/fileVersions", Version("6.1.7601.17570"));
  for (const FlushFailure& row :
       {FlushFailure{"GetModuleHandleW", ErrorLine(L"IsFQDN: Failed to get dns handle")},
        FlushFailure{"GetProcAddress", WarningLine(L"IsFQDN: Failed to initiate DNS flush")},
        FlushFailure{"DnsFlushResolverCache", WarningLine(L"IsFQDN: DNS cache was not flushed")}}) {
    machine_.Set("/faults", Json::Value(Json::arrayValue));
    Refuse(row.function, kModuleNotFound);
    const LogScope log;
    EXPECT_TRUE(Ask());
    EXPECT_EQ(counts_, (AddressCheckCounts{1, 1, 0, true, false}));
    EXPECT_THAT(OwnLog(), Contains(row.line));
  }
}

TEST_F(IsFqdnTest, VersionThatCantBeReadFlushesNothing) {
  SetDns("kv.example", JsonList({Record("A", "192.0.2.1")}));
  machine_.Remove("/fileVersions");
  EXPECT_TRUE(Ask());
  EXPECT_EQ(Flushes(), 0u);
}

}  // namespace
}  // namespace Halvard::Network
