#include "network/host_name_check.h"

#include "address_checks_test.h"

namespace Halvard::Network {
namespace {

using Testing::AdapterWith;
using ::testing::Contains;
using Testing::DhcpAdapterWith;
using ::testing::ElementsAre;
using Testing::ErrorLine;
using Testing::InfoLine;
using Testing::JsonList;
using Testing::NamesTest;
using Testing::OwnLog;
using Testing::WarningLine;

constexpr std::uint32_t kFunctionNotFound = 127;
constexpr std::uint32_t kInvalidParameter = 0xC000000D;

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

}  // namespace
}  // namespace Halvard::Network
