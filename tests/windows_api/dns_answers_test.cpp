// What becomes of answers of DNS servers. They know the same names on both sides: natively they are
// described, under Wine a server in a network of the test's own has them
// (tests/wine/dns_answers_test.py).
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "address_texts.h"
#include "started_sockets.h"
#include "support.h"

namespace {

using WindowsApi::StartedSockets;

struct FreeRecords {
  void operator()(void* list) const { DnsFree(list, DnsFreeRecordList); }
};

class DnsAnswers : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!WindowsApi::KnowConformanceNames()) {
      GTEST_SKIP()
          << "No DNS server here knows the names of this test; wine.dns_answers brings one";
    }
  }

  DNS_STATUS Ask(const wchar_t* name, WORD type) {
    PDNS_RECORD list = nullptr;
    const DNS_STATUS status = DnsQuery_W(name, type, DNS_QUERY_WIRE_ONLY | DNS_QUERY_TREAT_AS_FQDN,
                                         nullptr, &list, nullptr);
    list_.reset(list);
    records_.clear();
    for (const auto* record = reinterpret_cast<const DNS_RECORDW*>(list); record != nullptr;
         record = record->pNext) {
      // What else a message has is the server's affair.
      if (record->Flags.S.Section == DnsSectionAnswer) records_.push_back(record);
    }
    return status;
  }
  INT Resolve(const wchar_t* name, int family) {
    return WindowsApi::LookUp(name, family, 0, texts_);
  }

  const StartedSockets sockets_;
  std::unique_ptr<void, FreeRecords> list_;
  std::vector<const DNS_RECORDW*> records_;
  std::vector<std::wstring> texts_;
};

using RecordTexts = std::vector<std::wstring>;

TEST_F(DnsAnswers, AddressIsInTheOrderOfTheNetwork) {
  ASSERT_EQ(Ask(L"kv.example", DNS_TYPE_A), 0);
  ASSERT_EQ(records_.size(), 1u);
  EXPECT_EQ(records_[0]->wType, DNS_TYPE_A);
  EXPECT_EQ(records_[0]->wDataLength, sizeof(DNS_A_DATA));
  EXPECT_EQ(records_[0]->Data.A.IpAddress, htonl(0xC0000201));
}

TEST_F(DnsAnswers, LongAddressHasItsBytesInOrder) {
  ASSERT_EQ(Ask(L"kv.example", DNS_TYPE_AAAA), 0);
  ASSERT_EQ(records_.size(), 1u);
  EXPECT_EQ(records_[0]->wType, DNS_TYPE_AAAA);
  EXPECT_EQ(records_[0]->wDataLength, sizeof(DNS_AAAA_DATA));
  const unsigned char expected[] = {0x20, 0x01, 0x0d, 0xb8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1};
  EXPECT_EQ(std::memcmp(&records_[0]->Data.AAAA.Ip6Address, expected, sizeof(expected)), 0);
}

TEST_F(DnsAnswers, AliasComesBeforeTheAddressOfItsTarget) {
  ASSERT_EQ(Ask(L"alias.example", DNS_TYPE_A), 0);
  ASSERT_EQ(records_.size(), 2u);
  EXPECT_EQ(records_[0]->wType, DNS_TYPE_CNAME);
  EXPECT_STREQ(records_[0]->Data.CNAME.pNameHost, L"kv.example");
  EXPECT_EQ(records_[1]->wType, DNS_TYPE_A);
}

TEST_F(DnsAnswers, FinalDotIsNoPartOfARecordsName) {
  ASSERT_EQ(Ask(L"kv.example.", DNS_TYPE_A), 0);
  ASSERT_EQ(records_.size(), 1u);
  EXPECT_EQ(std::wstring(reinterpret_cast<const wchar_t*>(records_[0]->pName)), L"kv.example");
}

TEST_F(DnsAnswers, AnswerTooLongForADatagramIsWhole) {
  ASSERT_EQ(Ask(L"many.example", DNS_TYPE_A), 0);
  EXPECT_EQ(records_.size(), 100u);
}

TEST_F(DnsAnswers, UnknownNameHasACodeOfItsOwn) {
  EXPECT_EQ(Ask(L"nobody.example", DNS_TYPE_AAAA), DNS_ERROR_RCODE_NAME_ERROR);
  EXPECT_TRUE(records_.empty());
}

TEST_F(DnsAnswers, UnknownNameHasItForIpv4Too) {
  SKIP_ON_WINE("DnsQuery_W of Wine goes on to NetBIOS for an IPv4 address, and answers 123");
  EXPECT_EQ(Ask(L"nobody.example", DNS_TYPE_A), DNS_ERROR_RCODE_NAME_ERROR);
}

TEST_F(DnsAnswers, NameWithoutSuchARecordHasAnother) {
  SKIP_ON_WINE("DnsQuery_W of Wine takes a name without such records for an unknown one");
  EXPECT_EQ(Ask(L"six.example", DNS_TYPE_A), DNS_INFO_NO_RECORDS);
}

TEST_F(DnsAnswers, ResolverAsksThem) {
  EXPECT_EQ(Resolve(L"kv.example", AF_INET), 0);
  EXPECT_EQ(texts_, RecordTexts{L"192.0.2.1"});
  EXPECT_EQ(Resolve(L"kv.example", AF_INET6), 0);
  EXPECT_EQ(texts_, RecordTexts{L"2001:db8::1"});
  EXPECT_EQ(Resolve(L"alias.example", AF_INET), 0);
  EXPECT_EQ(texts_, RecordTexts{L"192.0.2.1"});
}

TEST_F(DnsAnswers, ResolverDoesNotFindAnUnknownName) {
  EXPECT_EQ(Resolve(L"nobody.example", AF_INET), WSAHOST_NOT_FOUND);
  EXPECT_EQ(texts_, RecordTexts{});
}

}  // namespace
