#include "network/fqdn_check.h"

#include "address_checks_test.h"

namespace Halvard::Network {
namespace {

using Testing::AdapterWith;
using ::testing::Contains;
using Testing::DhcpAdapterWith;
using Testing::ErrorLine;
using Testing::InfoLine;
using Testing::JsonList;
using Testing::LogLine;
using Testing::NamesTest;
using Testing::OwnLog;
using Testing::WarningLine;

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
