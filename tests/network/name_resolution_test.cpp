#include "network/name_resolution.h"

#include "host/failing_allocation.h"
#include "network_test.h"

namespace Halvard::Network {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using Testing::ErrorLine;
using Testing::FailingAllocation;
using Testing::InfoLine;
using Testing::NamesTest;
using ::testing::Not;
using Testing::OwnLog;
using Testing::WarningLine;

constexpr std::uint32_t kAccessDenied = 5;
constexpr std::uint32_t kTryAgain = 11002;

class IsIpLiteralTest : public NamesTest {};
class GetSystemFqdnTest : public NamesTest {};
class GetIPAddressesFromHostNameTest : public NamesTest {
 protected:
  void Ask(const std::wstring& name) { GetIPAddressesFromHostName(name, ipv4_, ipv6_); }

  std::wstring ipv4_ = L"left over";
  std::wstring ipv6_ = L"left over";
};
class GetIPAddressFromHostNameTest : public NamesTest {};

TEST_F(IsIpLiteralTest, TakesStrictSpellingsOfBothFamilies) {
  for (const wchar_t* text : {L"192.0.2.1", L"0.0.0.0", L"255.255.255.255", L"::", L"::1",
                              L"2001:DB8::A", L"::ffff:192.0.2.1", L"1:2:3:4:5:6:7:8"}) {
    EXPECT_TRUE(IsIpLiteral(text)) << text;
  }
}

TEST_F(IsIpLiteralTest, RefusesWhatOnlyALaxParserTakes) {
  for (const wchar_t* text :
       {L"127.1", L"0x7f.0.0.1", L"0177.0.0.1", L"2130706433", L"127.0.0.01", L"1.2.3.256",
        L"1.2.3.4.", L"1.2.3.4 ", L" 1.2.3.4", L"1.2.3.4:80", L"[::1]", L"::1%3", L"::1/64",
        L"::1 ", L"1::2::3", L"12345::", L"", L"localhost", L"kv.example"}) {
    EXPECT_FALSE(IsIpLiteral(text)) << text;
  }
}

TEST_F(IsIpLiteralTest, RefusesANameOfAThousandCharacters) {
  EXPECT_FALSE(IsIpLiteral(std::wstring(1000, L'1')));
  EXPECT_FALSE(IsIpLiteral(std::wstring(1000, L':')));
}

TEST_F(GetSystemFqdnTest, IsTheFullName) {
  const LogScope log;
  machine_.Set("/computer/fullName", "KvSource.Corp.example");
  EXPECT_EQ(GetSystemFqdn(), L"KvSource.Corp.example");
  EXPECT_THAT(OwnLog(),
              ElementsAre(InfoLine(L"GetSystemFqdn: Populating FQDN: [KvSource.Corp.example]")));
}

TEST_F(GetSystemFqdnTest, IsEmptyWithoutASize) {
  Refuse("GetComputerNameExW", kAccessDenied, 1);
  const LogScope log;
  EXPECT_EQ(GetSystemFqdn(), L"");
  EXPECT_THAT(OwnLog(), ElementsAre(ErrorLine(L"GetSystemFqdn: Failed to get size of FQDN: 5")));
}

TEST_F(GetSystemFqdnTest, IsEmptyWhenNoRoomIsAskedFor) {
  Refuse("GetComputerNameExW", ERROR_MORE_DATA, 1);
  const LogScope log;
  EXPECT_EQ(GetSystemFqdn(), L"");
  EXPECT_THAT(OwnLog(), ElementsAre(ErrorLine(L"GetSystemFqdn: Failed to get size of FQDN: 234")));
}

TEST_F(GetSystemFqdnTest, IsEmptyWithoutMemory) {
  const LogScope log;
  const FailingAllocation failing;
  EXPECT_EQ(GetSystemFqdn(), L"");
  EXPECT_THAT(OwnLog(), ElementsAre(ErrorLine(L"GetSystemFqdn: Failed to alloc memory for FQDN")));
}

TEST_F(GetSystemFqdnTest, IsEmptyWithoutAName) {
  Refuse("GetComputerNameExW", kAccessDenied, 2);
  const LogScope log;
  EXPECT_EQ(GetSystemFqdn(), L"");
  EXPECT_THAT(OwnLog(), ElementsAre(ErrorLine(L"GetSystemFqdn: Failed to get FQDN: 5")));
}

TEST_F(GetIPAddressesFromHostNameTest, SortsByFamilyInTheResolversOrder) {
  SetHost("dc.example", {"192.0.2.9", "2001:db8::9", "192.0.2.1", "2001:db8::1"});
  const LogScope log;
  Ask(L"dc.example");
  EXPECT_EQ(ipv4_, L"192.0.2.9,192.0.2.1");
  EXPECT_EQ(ipv6_, L"2001:db8::9,2001:db8::1");
  EXPECT_THAT(
      OwnLog(),
      ElementsAre(InfoLine(L"GetIPAddressesFromHostName: Hostname: [dc.example]"),
                  InfoLine(L"GetIPAddressesFromHostName: Family: [AF_INET]"),
                  InfoLine(L"GetIPAddressesFromHostName: [192.0.2.9] is a valid IPv4 address"),
                  InfoLine(L"GetIPAddressesFromHostName: Family: [AF_INET6]"),
                  InfoLine(L"GetIPAddressesFromHostName: [2001:db8::9] is a valid IPv6 Address."),
                  InfoLine(L"GetIPAddressesFromHostName: Family: [AF_INET]"),
                  InfoLine(L"GetIPAddressesFromHostName: [192.0.2.1] is a valid IPv4 address"),
                  InfoLine(L"GetIPAddressesFromHostName: Family: [AF_INET6]"),
                  InfoLine(L"GetIPAddressesFromHostName: [2001:db8::1] is a valid IPv6 Address.")));
}

TEST_F(GetIPAddressesFromHostNameTest, LeavesLoopbackOut) {
  SetHost("dc.example", {"127.0.0.1", "127.255.0.9", "::1", "192.0.2.9", "::2"});
  const LogScope log;
  Ask(L"dc.example");
  EXPECT_EQ(ipv4_, L"192.0.2.9");
  EXPECT_EQ(ipv6_, L"::2");
  for (const wchar_t* text : {L"127.0.0.1", L"127.255.0.9", L"::1"}) {
    EXPECT_THAT(OwnLog(),
                Contains(WarningLine(L"GetIPAddressesFromHostName: [" + std::wstring(text) +
                                     L"] is not a valid IP Address.")));
  }
}

TEST_F(GetIPAddressesFromHostNameTest, LeavesAddressesWithAScopeOut) {
  SetHost("dc.example", {"fe80::1%3"});
  const LogScope log;
  Ask(L"dc.example");
  EXPECT_EQ(ipv6_, L"");
  EXPECT_THAT(
      OwnLog(),
      Contains(WarningLine(L"GetIPAddressesFromHostName: [fe80::1%3] is not a valid IP Address.")));
}

TEST_F(GetIPAddressesFromHostNameTest, TakesAnAddressForAName) {
  Ask(L"192.0.2.77");
  EXPECT_EQ(ipv4_, L"192.0.2.77");
  EXPECT_EQ(ipv6_, L"");
}

TEST_F(GetIPAddressesFromHostNameTest, EmptiesBothListsForAnUnknownName) {
  const LogScope log;
  Ask(L"nobody.example");
  EXPECT_EQ(ipv4_, L"");
  EXPECT_EQ(ipv6_, L"");
  EXPECT_THAT(OwnLog(), Contains(ErrorLine(L"GetIPAddressesFromHostName: Failed to get the IP "
                                           L"Address, Error Code: [11001]")));
}

TEST_F(GetIPAddressesFromHostNameTest, DropsAnAddressWithoutAText) {
  SetHost("dc.example", {"192.0.2.9", "192.0.2.1"});
  Refuse("WSAAddressToStringW", 10014, 1);
  const LogScope log;
  Ask(L"dc.example");
  EXPECT_EQ(ipv4_, L"192.0.2.1");
  EXPECT_THAT(OwnLog(), Contains(ErrorLine(L"GetIPAddressesFromHostName: Failed to get the string "
                                           L"representation, Error Code: 10014")));
}

TEST_F(GetIPAddressesFromHostNameTest, DropsATextThatHasNoRoom) {
  SetHost("dc.example", {"fe80:1111:2222:3333:4444:5555:6666:7777%4294967295", "192.0.2.1"});
  const LogScope log;
  Ask(L"dc.example");
  EXPECT_EQ(ipv4_, L"192.0.2.1");
  EXPECT_EQ(ipv6_, L"");
  EXPECT_THAT(OwnLog(), Contains(ErrorLine(L"GetIPAddressesFromHostName: Failed to get the string "
                                           L"representation, Error Code: 10014")));
}

TEST_F(GetIPAddressesFromHostNameTest, NameOfAThousandCharactersIsUnknown) {
  const LogScope log;
  Ask(std::wstring(1000, L'a'));
  EXPECT_EQ(ipv4_, L"");
  EXPECT_THAT(OwnLog(), Contains(ErrorLine(L"GetIPAddressesFromHostName: Failed to get the IP "
                                           L"Address, Error Code: [11001]")));
}

TEST_F(GetIPAddressFromHostNameTest, IsTheFirstThatIsNoLoopback) {
  SetHost("time.example", {"127.0.0.1", "2001:db8::7", "192.0.2.1"});
  const LogScope log;
  EXPECT_EQ(GetIPAddressFromHostName(L"time.example"), L"2001:db8::7");
  EXPECT_THAT(
      OwnLog(),
      ElementsAre(InfoLine(L"GetIPAddressFromHostName: Hostname: [time.example]"),
                  InfoLine(L"GetIPAddressFromHostName: Family: [AF_INET]"),
                  WarningLine(L"GetIPAddressFromHostName: [127.0.0.1] is not a valid IP Address."),
                  InfoLine(L"GetIPAddressFromHostName: Family: [AF_INET6]"),
                  InfoLine(L"GetIPAddressFromHostName: [2001:db8::7] is a valid IPaddress")));
}

TEST_F(GetIPAddressFromHostNameTest, IsTheLastTextOfANameWithLoopbackAlone) {
  SetHost("time.example", {"::1", "127.0.0.1"});
  EXPECT_EQ(GetIPAddressFromHostName(L"time.example"), L"127.0.0.1");
  EXPECT_EQ(GetIPAddressFromHostName(L"localhost"), L"127.0.0.1");
}

TEST_F(GetIPAddressFromHostNameTest, IsTheLastTextEvenIfItHasAScope) {
  SetHost("time.example", {"127.0.0.1", "fe80::1%3"});
  EXPECT_EQ(GetIPAddressFromHostName(L"time.example"), L"fe80::1%3");
}

TEST_F(GetIPAddressFromHostNameTest, KeepsTheTextBeforeOneThatFails) {
  SetHost("time.example", {"127.0.0.1", "192.0.2.1"});
  Refuse("WSAAddressToStringW", 10014, 2);
  const LogScope log;
  EXPECT_EQ(GetIPAddressFromHostName(L"time.example"), L"127.0.0.1");
  EXPECT_THAT(OwnLog(), Contains(ErrorLine(L"GetIPAddressFromHostName: Failed to get the string "
                                           L"representation, Error Code: 10014")));
}

TEST_F(GetIPAddressFromHostNameTest, IsEmptyWhenTheLookupFails) {
  Refuse("GetAddrInfoW", kTryAgain);
  const LogScope log;
  EXPECT_EQ(GetIPAddressFromHostName(L"localhost"), L"");
  EXPECT_THAT(OwnLog(), Contains(ErrorLine(L"GetIPAddressFromHostName: Failed to get the IP "
                                           L"Address, Error Code: [11002]")));
}

TEST_F(GetIPAddressFromHostNameTest, IsEmptyWhenNothingHasAText) {
  SetHost("time.example", {"192.0.2.1", "192.0.2.2"});
  Refuse("WSAAddressToStringW", 10014);
  EXPECT_EQ(GetIPAddressFromHostName(L"time.example"), L"");
}

TEST_F(GetIPAddressFromHostNameTest, FreesTheResolversListEachTime) {
  SetHost("time.example", {"192.0.2.1", "192.0.2.2"});
  (void)GetIPAddressFromHostName(L"time.example");
  EXPECT_EQ(Lab::TheMachine().Faults().Calls("FreeAddrInfoW"), 1u);
}

}  // namespace
}  // namespace Halvard::Network
