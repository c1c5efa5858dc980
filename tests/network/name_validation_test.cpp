#include "network/name_validation.h"

#include "network_test.h"

namespace Halvard::Network {
namespace {

using Testing::AdapterWith;
using ::testing::Contains;
using Testing::DhcpAdapterWith;
using ::testing::ElementsAre;
using Testing::ErrorLine;
using Testing::InfoLine;
using ::testing::IsEmpty;
using Testing::JsonList;
using Testing::LogLine;
using Testing::NamesTest;
using ::testing::Not;
using Testing::OwnLog;
using Testing::TheDomain;
using Testing::WarningLine;

LogLine Refusal(const std::wstring& name) {
  return ErrorLine(L"ValidateFqdn: '" + name +
                   L"' is not a DNS name, IPv4 or IPv6 address, and is not supported for "
                   L"migration.");
}
LogLine NotWorking(const std::wstring& name) {
  return ErrorLine(L"ValidateFqdn: Name/address \"" + name + L"\" did not work for IPv4 or IPv6");
}
LogLine OnlyLoopback(const std::wstring& name) {
  return ErrorLine(L"ValidateFqdn: Name/address \"" + name + L"\" was only usable for loopback");
}
LogLine FromDhcp(const std::wstring& name) {
  return ErrorLine(L"ValidateFqdn: IP Address '" + name +
                   L"' is assigned using DHCP, and is not supported for migration.");
}
LogLine Allowing() { return InfoLine(L"ValidateFqdn: Allowing DHCP IP addresses."); }
LogLine WrongDomain() {
  return ErrorLine(L"ValidateFqdn: Failed to validate system name with Fqdn.");
}

class ValidateFqdnTest : public NamesTest {
 protected:
  ValidateFqdnTest() {
    machine_.Set("/adapters", JsonList({AdapterWith({"192.0.2.1", "2001:db8::1"}),
                                        DhcpAdapterWith({"192.0.2.2", "2001:db8::2"})}));
  }

  /// A name that both the hosts file and DNS know.
  void SetName(const std::string& name, std::initializer_list<Json::Value> addresses) {
    SetHost(name, addresses);
    Json::Value records(Json::arrayValue);
    for (const Json::Value& text : addresses) {
      const bool ipv6 = text.asString().find(':') != std::string::npos;
      records.append(Record(ipv6 ? "AAAA" : "A", text.asCString()));
    }
    SetDns(name, records);
  }

  static bool LogHolds(const LogLine& line) {
    for (const LogLine& logged : OwnLog()) {
      if (logged == line) return true;
    }
    return false;
  }
};

TEST_F(ValidateFqdnTest, EmptyNameIsRefused) {
  for (const bool allowDhcp : {false, true}) {
    const LogScope log;
    EXPECT_FALSE(ValidateFqdn(L"", allowDhcp));
    EXPECT_EQ(OwnLog().back(), Refusal(L""));
  }
  EXPECT_TRUE(LogHolds(InfoLine(L"ValidateFqdn: Asked to verify: \"\"")));
}

TEST_F(ValidateFqdnTest, AddressOfAnAdapterWithoutDhcpIsValid) {
  const LogScope log;
  EXPECT_TRUE(ValidateFqdn(L"192.0.2.1", false));
  EXPECT_EQ(OwnLog().front(), InfoLine(L"ValidateFqdn: Asked to verify: \"192.0.2.1\""));
  EXPECT_EQ(OwnLog().back(), InfoLine(L"ValidateFqdn: Checked IPv4 address"));
  for (const wchar_t* name : {L"2001:db8::1", L"2001:DB8:0::1"}) {
    EXPECT_TRUE(ValidateFqdn(name, false));
    EXPECT_EQ(OwnLog().back(), InfoLine(L"ValidateFqdn: Checked IPv6 address"));
  }
}

TEST_F(ValidateFqdnTest, AddressFromDhcpIsRefusedUnlessAllowed) {
  for (const wchar_t* name : {L"192.0.2.2", L"2001:db8::2"}) {
    const LogScope log;
    EXPECT_FALSE(ValidateFqdn(name, false));
    EXPECT_EQ(OwnLog().back(), FromDhcp(name));
    EXPECT_TRUE(ValidateFqdn(name, true));
    EXPECT_EQ(OwnLog().back(), Allowing());
  }
}

TEST_F(ValidateFqdnTest, AddressOfAnotherMachineDoesntWork) {
  for (const wchar_t* name : {L"192.0.2.99", L"2001:db8::99"}) {
    for (const bool allowDhcp : {false, true}) {
      const LogScope log;
      EXPECT_FALSE(ValidateFqdn(name, allowDhcp));
      EXPECT_EQ(OwnLog().back(), NotWorking(name));
    }
  }
}

TEST_F(ValidateFqdnTest, SpellingThatOnlyALaxParserTakesDoesntWork) {
  // The first four are 192.0.2.1 and 127.0.0.1.
  for (const wchar_t* name : {L"192.0.513", L"0xc0.0.2.1", L"192.0.2.01", L"127.1",
                              L"[2001:db8::1]", L"[2001:db8::1]:443", L"2001:db8::1%3"}) {
    const LogScope log;
    EXPECT_FALSE(ValidateFqdn(name, false));
    EXPECT_EQ(OwnLog().back(), NotWorking(name));
  }
}

TEST_F(ValidateFqdnTest, LoopbackAddressIsOnlyUsableForLoopback) {
  for (const wchar_t* name : {L"127.0.0.1", L"127.200.3.4", L"::1"}) {
    for (const bool allowDhcp : {false, true}) {
      const LogScope log;
      EXPECT_FALSE(ValidateFqdn(name, allowDhcp));
      EXPECT_EQ(OwnLog().back(), OnlyLoopback(name));
    }
  }
}

TEST_F(ValidateFqdnTest, AllowedDhcpIsLoggedBeforeTheRefusalOfLoopback) {
  const LogScope log;
  EXPECT_FALSE(ValidateFqdn(L"127.0.0.1", true));
  const std::vector<LogLine> lines = OwnLog();
  EXPECT_EQ(lines[lines.size() - 2], Allowing());
}

TEST_F(ValidateFqdnTest, NameWithACharacterThatNoNameHasIsRefusedWithoutALookup) {
  SetName("under_score.example", {"192.0.2.1"});
  for (const wchar_t* name : {L"under_score.example", L"a b", L"a/b", L"m\u00FCller.example",
                              L"*.example", L"a,b", L"kv:443"}) {
    const LogScope log;
    EXPECT_FALSE(ValidateFqdn(name, false));
    EXPECT_EQ(OwnLog().back(), Refusal(name));
  }
  EXPECT_EQ(Lab::TheMachine().Faults().Calls("DnsQuery_W"), 0u);
  // Each name was tried as an address of both families, and no more.
  EXPECT_EQ(Lab::TheMachine().Faults().Calls("GetAddrInfoW"), 14u);
}

TEST_F(ValidateFqdnTest, LettersDigitsDotsAndHyphensAreAllThatANameNeeds) {
  for (const char* name : {"a", "KV-01.Example", "-", "...", "0", "a-.b"}) {
    const LogScope log;
    const std::wstring wide(name, name + std::char_traits<char>::length(name));
    EXPECT_FALSE(ValidateFqdn(wide, false));
  }
  // Six names, less the one that is an address, twice each as a name.
  EXPECT_EQ(Lab::TheMachine().Faults().Calls("DnsQuery_W"), 0u);
  EXPECT_EQ(Lab::TheMachine().Faults().Calls("GetAddrInfoW"), 6u * 2 + 5u * 2 - 1);
}

TEST_F(ValidateFqdnTest, NameThatDnsKnowsIsValidEvenIfItsAddressIsFromDhcp) {
  SetName("kv.example", {"192.0.2.1"});
  SetName("dhcp.example", {"192.0.2.2"});
  const LogScope log;
  EXPECT_TRUE(ValidateFqdn(L"kv.example", false));
  EXPECT_TRUE(LogHolds(InfoLine(L"ValidateFqdn: 1 of 1 of FQDN IPs are on system")));
  EXPECT_TRUE(LogHolds(InfoLine(L"ValidateFqdn: Check failed for IPv6 address and name")));
  EXPECT_TRUE(ValidateFqdn(L"dhcp.example", false));
  EXPECT_TRUE(ValidateFqdn(L"dhcp.example", true));
  EXPECT_EQ(OwnLog().back(), Allowing());
}

TEST_F(ValidateFqdnTest, BothFamiliesAreAlwaysTried) {
  SetName("kv.example", {"192.0.2.1", "2001:db8::1"});
  EXPECT_TRUE(ValidateFqdn(L"kv.example", false));
  EXPECT_EQ(Lab::TheMachine().Faults().Calls("DnsQuery_W"), 2u);
}

TEST_F(ValidateFqdnTest, Ipv4AloneWillDoWhenIpv6LeadsElsewhere) {
  SetName("kv.example", {"192.0.2.1", "2001:db8::99"});
  EXPECT_TRUE(ValidateFqdn(L"kv.example", false));
}

TEST_F(ValidateFqdnTest, Ipv6AloneWillDo) {
  SetName("kv.example", {"192.0.2.99", "2001:db8::1"});
  const LogScope log;
  EXPECT_TRUE(ValidateFqdn(L"kv.example", false));
  EXPECT_TRUE(LogHolds(InfoLine(L"ValidateFqdn: Check failed for IPv4 address and name")));
}

TEST_F(ValidateFqdnTest, NameWithoutAPrimaryOnTheMachineIsRefused) {
  SetName("elsewhere.example", {"192.0.2.99", "192.0.2.1", "2001:db8::99"});
  for (const bool allowDhcp : {false, true}) {
    const LogScope log;
    EXPECT_FALSE(ValidateFqdn(L"elsewhere.example", allowDhcp));
    EXPECT_EQ(OwnLog().back(), Refusal(L"elsewhere.example"));
  }
}

TEST_F(ValidateFqdnTest, NameThatDnsDoesntKnowIsRefused) {
  SetHost("hosts.example", {"192.0.2.1", "2001:db8::1"});
  const LogScope log;
  EXPECT_FALSE(ValidateFqdn(L"hosts.example", false));
  EXPECT_EQ(OwnLog().back(), Refusal(L"hosts.example"));
  EXPECT_TRUE(LogHolds(WarningLine(L"ValidateFqdn: name hosts.example isn't a IPv4 FQDN")));
  EXPECT_TRUE(LogHolds(WarningLine(L"ValidateFqdn: name hosts.example isn't a IPv6 FQDN")));
}

TEST_F(ValidateFqdnTest, UnknownNameIsRefused) {
  const LogScope log;
  EXPECT_FALSE(ValidateFqdn(L"nobody.example", false));
  EXPECT_EQ(OwnLog().back(), Refusal(L"nobody.example"));
}

TEST_F(ValidateFqdnTest, LocalhostIsRefusedWithoutAQuery) {
  SetDns("localhost", JsonList({Record("A", "127.0.0.1"), Record("AAAA", "::1")}));
  for (const bool allowDhcp : {false, true}) {
    const LogScope log;
    EXPECT_FALSE(ValidateFqdn(L"localhost", allowDhcp));
    EXPECT_EQ(OwnLog().back(), Refusal(L"localhost"));
  }
  EXPECT_EQ(Lab::TheMachine().Faults().Calls("DnsQuery_W"), 0u);
}

TEST_F(ValidateFqdnTest, LoopbackIsToleratedBesideAUsableFamily) {
  SetName("four.example", {"127.0.0.1", "2001:db8::1"});
  SetName("six.example", {"192.0.2.1", "::1"});
  EXPECT_TRUE(ValidateFqdn(L"four.example", false));
  EXPECT_TRUE(ValidateFqdn(L"six.example", false));
}

TEST_F(ValidateFqdnTest, LoopbackIsntToleratedBesideAFamilyThatLeadsElsewhere) {
  SetName("four.example", {"127.0.0.1", "2001:db8::99"});
  SetName("six.example", {"192.0.2.99", "::1"});
  SetName("both.example", {"127.0.0.1", "::1"});
  for (const wchar_t* name : {L"four.example", L"six.example", L"both.example"}) {
    const LogScope log;
    EXPECT_FALSE(ValidateFqdn(name, false));
    EXPECT_EQ(OwnLog().back(), Refusal(name));
  }
}

TEST_F(ValidateFqdnTest, AliasIsValidWithAWarningForEachFamily) {
  SetHost("alias.example", {"192.0.2.1", "2001:db8::1"});
  SetDns("alias.example", JsonList({Record("CNAME", "real.example")}));
  SetDns("real.example", JsonList({Record("A", "192.0.2.1"), Record("AAAA", "2001:db8::1")}));
  const LogScope log;
  EXPECT_TRUE(ValidateFqdn(L"alias.example", false));
  EXPECT_TRUE(LogHolds(
      WarningLine(L"ValidateFqdn: Secondary FQDN check could not resolve primary IPv4 address")));
  EXPECT_TRUE(LogHolds(
      WarningLine(L"ValidateFqdn: Secondary FQDN check could not resolve primary IPv6 address")));
}

TEST_F(ValidateFqdnTest, AnswerWithoutUsableRecordsIsAnAnswer) {
  SetHost("kv.example", {"192.0.2.1"});
  SetDns("kv.example", JsonList({Record(16, "00")}));
  const LogScope log;
  EXPECT_TRUE(ValidateFqdn(L"kv.example", false));
  EXPECT_TRUE(LogHolds(InfoLine(L"ValidateFqdn: 0 of 0 of FQDN IPs are on system")));
}

TEST_F(ValidateFqdnTest, CountsOfAnEarlierCheckDontLeakIntoTheNext) {
  // The literal check of IPv4 counts nothing; DHCP of the IPv4 name mustn't reach IPv6.
  SetName("kv.example", {"192.0.2.2", "2001:db8::1", "2001:db8::99"});
  const LogScope log;
  EXPECT_TRUE(ValidateFqdn(L"kv.example", false));
  EXPECT_TRUE(LogHolds(InfoLine(L"ValidateFqdn: 1 of 1 of FQDN IPs are on system")));
  EXPECT_TRUE(LogHolds(InfoLine(L"ValidateFqdn: 1 of 2 of FQDN IPs are on system")));
}

TEST_F(ValidateFqdnTest, NamesOfAThousandCharactersAreRefused) {
  for (const wchar_t letter : {L'a', L'1', L'.', L'-'}) {
    const std::wstring name(1000, letter);
    const LogScope log;
    EXPECT_FALSE(ValidateFqdn(name, false));
    EXPECT_EQ(OwnLog().back(), Refusal(name));
  }
}

TEST_F(ValidateFqdnTest, NameInADomainHasToBeTheSystems) {
  machine_.Set("/computer/fullName", "kvsource.corp.example");
  SetName("kv.example", {"192.0.2.1"});
  SetDns("kvsource.corp.example", JsonList({Record("A", "192.0.2.1")}));
  TheDomain().config.domainName = L"corp.example";
  const LogScope log;
  EXPECT_FALSE(ValidateFqdn(L"kv.example", false));
  EXPECT_EQ(OwnLog().back(), WrongDomain());
  EXPECT_FALSE(ValidateFqdn(L"kvsource", true));
  EXPECT_EQ(OwnLog().back(), WrongDomain());
  EXPECT_TRUE(ValidateFqdn(L"KVsource.corp.EXAMPLE", false));
}

TEST_F(ValidateFqdnTest, AddressInADomainSkipsTheComparison) {
  TheDomain().config.domainName = L"corp.example";
  EXPECT_TRUE(ValidateFqdn(L"192.0.2.1", false));
  TheDomain().answers = false;
  EXPECT_TRUE(ValidateFqdn(L"2001:db8::1", false));
}

TEST_F(ValidateFqdnTest, UnknownDomainRefusesNames) {
  SetName("kv.example", {"192.0.2.1"});
  TheDomain().answers = false;
  const LogScope log;
  EXPECT_FALSE(ValidateFqdn(L"kv.example", false));
  EXPECT_EQ(OwnLog().back(), WrongDomain());
}

class PnidCompatibilityTest : public NamesTest {
 protected:
  PnidCompatibilityTest() { machine_.Set("/computer/fullName", "kvsource.corp.example"); }
};

TEST_F(PnidCompatibilityTest, AddressGoesWithAnything) {
  TheDomain().answers = false;
  const LogScope log;
  EXPECT_TRUE(ValidatePnidWithFqdnCompatibility(L"192.0.2.99"));
  EXPECT_TRUE(ValidatePnidWithFqdnCompatibility(L"::1"));
  EXPECT_THAT(OwnLog(), IsEmpty());
}

TEST_F(PnidCompatibilityTest, AnyNameGoesWithAWorkgroup) {
  EXPECT_TRUE(ValidatePnidWithFqdnCompatibility(L"other.example"));
  EXPECT_EQ(Lab::TheMachine().Faults().Calls("GetComputerNameExW"), 0u);
}

TEST_F(PnidCompatibilityTest, UnknownDomainGoesWithNoName) {
  TheDomain().answers = false;
  const LogScope log;
  EXPECT_FALSE(ValidatePnidWithFqdnCompatibility(L"kvsource.corp.example"));
  EXPECT_THAT(OwnLog(), ElementsAre(ErrorLine(L"ValidatePnidWithFqdnCompatibility: Failed to "
                                              L"retrieve the Active Directory configuration.")));
}

TEST_F(PnidCompatibilityTest, DomainGoesWithTheSystemsNameInAnyCase) {
  TheDomain().config.domainName = L"corp.example";
  const LogScope log;
  EXPECT_TRUE(ValidatePnidWithFqdnCompatibility(L"KVSOURCE.corp.example"));
  EXPECT_EQ(OwnLog().back(),
            InfoLine(L"ValidatePnidWithFqdnCompatibility: appNetPnid [KVSOURCE.corp.example] is "
                     L"equal to hostname [kvsource.corp.example]"));
  EXPECT_FALSE(ValidatePnidWithFqdnCompatibility(L"kvsource"));
  EXPECT_EQ(OwnLog().back(),
            InfoLine(L"ValidatePnidWithFqdnCompatibility: appNetPnid [kvsource] is not equal to "
                     L"hostname [kvsource.corp.example]"));
}

TEST_F(PnidCompatibilityTest, SystemWithoutANameTakesEachAsEqual) {
  TheDomain().config.domainName = L"corp.example";
  Refuse("GetComputerNameExW", 5);
  const LogScope log;
  EXPECT_TRUE(ValidatePnidWithFqdnCompatibility(L"other.example"));
  EXPECT_EQ(OwnLog().back(), InfoLine(L"ValidatePnidWithFqdnCompatibility: appNetPnid "
                                      L"[other.example] is equal to hostname []"));
}

}  // namespace
}  // namespace Halvard::Network
