// What can be asked of DNS functions without a server. Their answers are tested against described
// and real servers.
#include "support.h"

namespace {

TEST(DnsFree, TakesNull) { DnsFree(nullptr, DnsFreeRecordList); }

TEST(DnsFlushResolverCache, IsFoundByItsName) {
  // A program that queries is bound to the library.
  const HMODULE module = GetModuleHandleW(L"dnsapi.dll");
  ASSERT_NE(module, nullptr);
  EXPECT_NE(GetProcAddress(module, "DnsFlushResolverCache"), nullptr);
}

TEST(DnsQueryW, FailsForANameThatCantBe) {
  const std::wstring longLabel(64, L'a');
  for (const std::wstring& name : {longLabel + L".example", std::wstring(L"a..example")}) {
    PDNS_RECORD records = nullptr;
    EXPECT_NE(DnsQuery_W(name.c_str(), DNS_TYPE_A, DNS_QUERY_WIRE_ONLY | DNS_QUERY_TREAT_AS_FQDN,
                         nullptr, &records, nullptr),
              0);
    EXPECT_EQ(records, nullptr);
  }
}

}  // namespace
