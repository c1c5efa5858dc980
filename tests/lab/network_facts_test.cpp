// What the Windows functions make of described adapters, hosts and DNS names.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <json/reader.h>

#include <cstring>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "host/windows_api.h"
#include "network/address_text.h"
#include "support/lab_instance.h"

namespace Lab {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr ULONG kAllFlags = 150;
constexpr ULONG kFamilyFlags = 14;

class NetworkFacts : public ::testing::Test {
 protected:
  NetworkFacts() {
    WSADATA data;
    EXPECT_EQ(WSAStartup(0x0202, &data), 0);
  }

  /// Describes the machine's network anew. Opening a machine ends its sockets.
  void Set(const char* pointer, const char* json) {
    Json::Value value;
    Json::CharReaderBuilder builder;
    std::string errors;
    std::istringstream text(json);
    ASSERT_TRUE(Json::parseFromStream(builder, text, &value, &errors)) << errors;
    machine_.Set(pointer, value);
    WSADATA data;
    EXPECT_EQ(WSAStartup(0x0202, &data), 0);
  }

  const IP_ADAPTER_ADDRESSES* Adapters(ULONG family = AF_UNSPEC) {
    const ULONG flags = family == AF_UNSPEC ? kAllFlags : kFamilyFlags;
    ULONG size = 0;
    EXPECT_EQ(GetAdaptersAddresses(family, flags, nullptr, nullptr, &size),
              DWORD{ERROR_BUFFER_OVERFLOW});
    // To the byte, so that a write behind it is seen.
    buffer_ = std::make_unique<std::byte[]>(size);
    auto* const list = reinterpret_cast<IP_ADAPTER_ADDRESSES*>(buffer_.get());
    EXPECT_EQ(GetAdaptersAddresses(family, flags, nullptr, list, &size), DWORD{ERROR_SUCCESS});
    return list;
  }

  static std::vector<std::string> Resolve(const wchar_t* name, int family, INT code = 0) {
    ADDRINFOW hints{};
    hints.ai_family = family;
    PADDRINFOW list = nullptr;
    EXPECT_EQ(GetAddrInfoW(name, nullptr, &hints, &list), code);
    EXPECT_EQ(list == nullptr, code != 0);
    std::vector<std::string> texts;
    for (const ADDRINFOW* entry = list; entry != nullptr; entry = entry->ai_next) {
      texts.push_back(AddressText(entry->ai_addr));
    }
    FreeAddrInfoW(list);
    return texts;
  }

  /// The records as texts: section, type and data.
  static std::vector<std::string> Query(const wchar_t* name, WORD type, DNS_STATUS status = 0) {
    PDNS_RECORD list = nullptr;
    EXPECT_EQ(DnsQuery_W(name, type, 0x1100, nullptr, &list, nullptr), status);
    std::vector<std::string> texts;
    for (const DNS_RECORDW* record = list; record != nullptr; record = record->pNext) {
      texts.push_back(std::to_string(record->Flags.S.Section) + " " +
                      std::to_string(record->wType) + " " + DataOf(*record));
    }
    DnsFree(list, DnsFreeRecordList);
    return texts;
  }

  Instance machine_;
  std::unique_ptr<std::byte[]> buffer_;

 private:
  static std::string DataOf(const DNS_RECORDW& record) {
    const auto* const data = reinterpret_cast<const std::byte*>(&record.Data);
    SocketAddress address{};
    if (record.wType == DNS_TYPE_A && record.wDataLength == sizeof(in_addr)) {
      address.v4.sin_family = AF_INET;
      std::memcpy(&address.v4.sin_addr, data, sizeof(in_addr));
      return AddressText(&address.any);
    }
    if (record.wType == DNS_TYPE_AAAA && record.wDataLength == sizeof(in6_addr)) {
      address.v6.sin6_family = AF_INET6;
      std::memcpy(&address.v6.sin6_addr, data, sizeof(in6_addr));
      return AddressText(&address.any);
    }
    if (record.wType == DNS_TYPE_CNAME) {
      const std::wstring target = record.Data.CNAME.pNameHost;
      return std::string(target.begin(), target.end());
    }
    return std::to_string(record.wDataLength) + " bytes";
  }
};

TEST_F(NetworkFacts, AdapterHasAllThatIsDescribed) {
  Set("/adapters", R"([{
    "type": 71, "mac": "00:0c:29:4E:66:a1:12:fe", "dhcp": true, "ipv6": false,
    "addresses": [{"address": "192.0.2.10", "transient": true, "prefixLength": 20,
                   "prefixOrigin": "dhcp", "suffixOrigin": "random"}],
    "gateways": ["192.0.2.1", "fe80::1%3"], "dnsServers": ["192.0.2.53"],
    "dnsSuffix": "corp.example", "dnsSuffixes": ["b.example", "a.example"],
    "dhcpServer4": "192.0.2.67", "dhcpServer6": "fe80::67%3",
    "duid": "00:01:FF", "iaid": 4294967295}])");
  const IP_ADAPTER_ADDRESSES& adapter = *Adapters();
  EXPECT_EQ(adapter.Length, sizeof(IP_ADAPTER_ADDRESSES));
  EXPECT_EQ(adapter.Next, nullptr);
  EXPECT_EQ(adapter.IfType, 71u);
  EXPECT_EQ(adapter.PhysicalAddressLength, 8u);
  EXPECT_EQ(adapter.PhysicalAddress[5], 0xA1);
  EXPECT_EQ(adapter.PhysicalAddress[7], 0xFE);
  EXPECT_EQ(adapter.Flags, ULONG{IP_ADAPTER_DHCP_ENABLED | IP_ADAPTER_IPV4_ENABLED});
  const IP_ADAPTER_UNICAST_ADDRESS& unicast = *adapter.FirstUnicastAddress;
  EXPECT_EQ(AddressText(unicast.Address.lpSockaddr), "192.0.2.10");
  EXPECT_EQ(unicast.Flags, DWORD{IP_ADAPTER_ADDRESS_DNS_ELIGIBLE | IP_ADAPTER_ADDRESS_TRANSIENT});
  EXPECT_EQ(unicast.OnLinkPrefixLength, 20);
  EXPECT_EQ(unicast.PrefixOrigin, IpPrefixOriginDhcp);
  EXPECT_EQ(unicast.SuffixOrigin, IpSuffixOriginRandom);
  EXPECT_EQ(AddressText(adapter.FirstGatewayAddress->Next->Address.lpSockaddr), "fe80::1%3");
  EXPECT_EQ(adapter.FirstGatewayAddress->Next->Address.iSockaddrLength, 28);
  EXPECT_EQ(AddressText(adapter.FirstDnsServerAddress->Address.lpSockaddr), "192.0.2.53");
  EXPECT_STREQ(adapter.DnsSuffix, L"corp.example");
  EXPECT_STREQ(adapter.FirstDnsSuffix->String, L"b.example");
  EXPECT_STREQ(adapter.FirstDnsSuffix->Next->String, L"a.example");
  EXPECT_EQ(adapter.FirstDnsSuffix->Next->Next, nullptr);
  EXPECT_EQ(AddressText(adapter.Dhcpv4Server.lpSockaddr), "192.0.2.67");
  EXPECT_EQ(AddressText(adapter.Dhcpv6Server.lpSockaddr), "fe80::67%3");
  EXPECT_EQ(adapter.Dhcpv6ClientDuidLength, 3u);
  EXPECT_EQ(adapter.Dhcpv6ClientDuid[2], 0xFF);
  EXPECT_EQ(adapter.Dhcpv6Iaid, 4294967295u);
}

TEST_F(NetworkFacts, AdapterHasNothingThatIsntDescribed) {
  Set("/adapters", "[{}]");
  const IP_ADAPTER_ADDRESSES& adapter = *Adapters();
  EXPECT_EQ(adapter.IfType, 6u);
  EXPECT_EQ(adapter.Flags, ULONG{IP_ADAPTER_IPV4_ENABLED | IP_ADAPTER_IPV6_ENABLED});
  EXPECT_EQ(adapter.FirstUnicastAddress, nullptr);
  EXPECT_EQ(adapter.FirstGatewayAddress, nullptr);
  EXPECT_EQ(adapter.FirstDnsServerAddress, nullptr);
  EXPECT_EQ(adapter.FirstDnsSuffix, nullptr);
  EXPECT_EQ(adapter.Dhcpv4Server.lpSockaddr, nullptr);
  EXPECT_EQ(adapter.Dhcpv6Server.iSockaddrLength, 0);
  EXPECT_EQ(adapter.PhysicalAddressLength, 0u);
  EXPECT_EQ(adapter.Dhcpv6ClientDuidLength, 0u);
  EXPECT_STREQ(adapter.DnsSuffix, L"");
}

TEST_F(NetworkFacts, UsualAddressIsTypedIn) {
  Set("/adapters", R"([{"addresses": [{"address": "192.0.2.1"}, {"address": "2001:db8::1"}]}])");
  const IP_ADAPTER_UNICAST_ADDRESS* entry = Adapters()->FirstUnicastAddress;
  EXPECT_EQ(entry->PrefixOrigin, IpPrefixOriginManual);
  EXPECT_EQ(entry->SuffixOrigin, IpSuffixOriginManual);
  EXPECT_EQ(entry->OnLinkPrefixLength, 24);
  EXPECT_EQ(entry->Next->OnLinkPrefixLength, 64);
}

TEST_F(NetworkFacts, CallForOneFamilySeesItsPart) {
  Set("/adapters", R"([
    {"ipv4": false, "addresses": [{"address": "2001:db8::1"}]},
    {"gateways": ["192.0.2.254"], "dnsServers": ["192.0.2.53"],
     "addresses": [{"address": "2001:db8::2"}, {"address": "192.0.2.2"}]}])");
  const IP_ADAPTER_ADDRESSES* adapter = Adapters(AF_INET);
  EXPECT_EQ(AddressText(adapter->FirstUnicastAddress->Address.lpSockaddr), "192.0.2.2");
  EXPECT_EQ(adapter->FirstUnicastAddress->Next, nullptr);
  EXPECT_EQ(adapter->FirstDnsServerAddress, nullptr);
  EXPECT_EQ(adapter->FirstGatewayAddress, nullptr);
  EXPECT_EQ(adapter->IfIndex, 2u);
  EXPECT_EQ(adapter->Next, nullptr);
  EXPECT_EQ(adapter->Flags, ULONG{IP_ADAPTER_IPV4_ENABLED | IP_ADAPTER_IPV6_ENABLED});
  EXPECT_NE(Adapters(AF_INET6)->Next, nullptr);
}

TEST_F(NetworkFacts, FamilyWithoutAnAdapterHasNoData) {
  Set("/adapters", R"([{"ipv6": false}])");
  ULONG size = 0;
  EXPECT_EQ(GetAdaptersAddresses(AF_INET6, kFamilyFlags, nullptr, nullptr, &size),
            DWORD{ERROR_NO_DATA});
}

TEST_F(NetworkFacts, AdapterComesAndGoesWithTheCalls) {
  Set("/adapters", R"([{}, {"firstCall": 2, "lastCall": 3}])");
  std::vector<ULONG> sizes;
  for (int call = 0; call < 4; ++call) {
    ULONG size = 0;
    (void)GetAdaptersAddresses(AF_UNSPEC, kAllFlags, nullptr, nullptr, &size);
    sizes.push_back(size);
  }
  EXPECT_THAT(sizes, ElementsAre(sizes[0], 2 * sizes[0], 2 * sizes[0], sizes[0]));
}

TEST_F(NetworkFacts, OwnNameIsAllAdaptersButLoopback) {
  Set("/adapters", R"([
    {"addresses": [{"address": "fe80::1%1"}, {"address": "192.0.2.1"}]},
    {"addresses": [{"address": "127.0.0.1"}, {"address": "::1"}, {"address": "2001:db8::1"}]}])");
  for (const wchar_t* name : {L"", L"kvsource", L"KvSource.Corp.Example"}) {
    EXPECT_THAT(Resolve(name, AF_INET), ElementsAre("192.0.2.1"));
    EXPECT_THAT(Resolve(name, AF_INET6), ElementsAre("fe80::1%1", "2001:db8::1"));
    EXPECT_THAT(Resolve(name, AF_UNSPEC), ElementsAre("fe80::1%1", "192.0.2.1", "2001:db8::1"));
  }
}

TEST_F(NetworkFacts, OwnNameIsLoopbackWhenThereIsNothingElse) {
  Set("/adapters", R"([{"addresses": [{"address": "127.0.0.1"}]}])");
  EXPECT_THAT(Resolve(L"kvsource", AF_UNSPEC), ElementsAre("127.0.0.1"));
}

TEST_F(NetworkFacts, LocalhostIsBothFamiliesOfLoopback) {
  EXPECT_THAT(Resolve(L"LocalHost", AF_UNSPEC), ElementsAre("::1", "127.0.0.1"));
  EXPECT_THAT(Resolve(L"localhost", AF_INET6), ElementsAre("::1"));
}

TEST_F(NetworkFacts, HostsComeInTheDescribedOrderBeforeDns) {
  Set("/hosts", R"({"kv.example": ["192.0.2.9", "2001:db8::9", "192.0.2.1"]})");
  Set("/dns/names", R"({"kv.example": [{"type": "A", "value": "192.0.2.77"}],
                        "six.example": [{"type": "AAAA", "value": "2001:db8::6"}]})");
  EXPECT_THAT(Resolve(L"KV.example", AF_UNSPEC),
              ElementsAre("192.0.2.9", "2001:db8::9", "192.0.2.1"));
  EXPECT_THAT(Resolve(L"six.example", AF_INET6), ElementsAre("2001:db8::6"));
}

TEST_F(NetworkFacts, LookupsFailAsDnsDoes) {
  machine_.Set("/clock/speed", 100000);
  Set("/dns/names", R"({"six.example": [{"type": "AAAA", "value": "2001:db8::6"}],
                        "bad.example": "serverFailure", "dead.example": "silence",
                        "no.example": "refused"})");
  EXPECT_THAT(Resolve(L"nobody.example", AF_INET, WSAHOST_NOT_FOUND), IsEmpty());
  EXPECT_THAT(Resolve(L"six.example", AF_INET, WSANO_DATA), IsEmpty());
  EXPECT_THAT(Resolve(L"bad.example", AF_INET, WSATRY_AGAIN), IsEmpty());
  EXPECT_THAT(Resolve(L"dead.example", AF_INET, WSATRY_AGAIN), IsEmpty());
  EXPECT_THAT(Resolve(L"no.example", AF_INET, WSAHOST_NOT_FOUND), IsEmpty());
  const std::wstring longLabel(64, L'a');
  EXPECT_THAT(Resolve((longLabel + L".example").c_str(), AF_INET, WSAHOST_NOT_FOUND), IsEmpty());
  EXPECT_THAT(Resolve(L"a..example", AF_INET, WSAHOST_NOT_FOUND), IsEmpty());
}

TEST_F(NetworkFacts, ShortNamesAreTriedWithTheSuffixes) {
  Set("/dns", R"({"suffixes": ["one.example", "two.example"], "names": {
    "kv.two.example": [{"type": "A", "value": "192.0.2.2"}],
    "x.y.two.example": [{"type": "A", "value": "192.0.2.3"}]}})");
  EXPECT_THAT(Resolve(L"kv", AF_INET), ElementsAre("192.0.2.2"));
  EXPECT_THAT(Resolve(L"x.y", AF_INET, WSAHOST_NOT_FOUND), IsEmpty());
}

TEST_F(NetworkFacts, AliasesAreFollowedToTheirEnd) {
  Set("/dns/names", R"({
    "a.example": [{"type": "CNAME", "value": "b.example"}],
    "b.example": [{"type": "CNAME", "value": "C.example"}],
    "c.example": [{"type": "A", "value": "192.0.2.3"}, {"type": "A", "value": "192.0.2.4"}],
    "gone.example": [{"type": "CNAME", "value": "nobody.example"}],
    "loop.example": [{"type": "CNAME", "value": "loop.example"}]})");
  EXPECT_THAT(Query(L"a.example.", DNS_TYPE_A),
              ElementsAre("1 5 b.example", "1 5 C.example", "1 1 192.0.2.3", "1 1 192.0.2.4"));
  EXPECT_THAT(Resolve(L"a.example", AF_INET), ElementsAre("192.0.2.3", "192.0.2.4"));
  EXPECT_THAT(Query(L"gone.example", DNS_TYPE_A, DNS_INFO_NO_RECORDS),
              ElementsAre("1 5 nobody.example"));
  EXPECT_EQ(Query(L"loop.example", DNS_TYPE_A, DNS_INFO_NO_RECORDS).size(), 16u);
}

TEST_F(NetworkFacts, RecordsComeWithTheQuestionsTheyAnswer) {
  Set("/dns/names", R"({"kv.example": [
    {"type": "AAAA", "value": "2001:db8::1"},
    {"type": "A", "value": "192.0.2.1", "questions": ["A", "AAAA"], "section": "additional"},
    {"type": 46, "value": "00010203", "section": "authority"},
    {"type": 1, "value": "c0"}]})");
  EXPECT_THAT(Query(L"kv.example", DNS_TYPE_AAAA),
              ElementsAre("1 28 2001:db8::1", "3 1 192.0.2.1", "2 46 4 bytes", "1 1 1 bytes"));
  EXPECT_THAT(Query(L"kv.example", DNS_TYPE_A),
              ElementsAre("3 1 192.0.2.1", "2 46 4 bytes", "1 1 1 bytes"));
}

TEST_F(NetworkFacts, QueriesFailWithTheCodesOfTheirKind) {
  machine_.Set("/clock/speed", 100000);
  Set("/dns/names", R"({"f.example": "formatError", "s.example": "serverFailure",
    "n.example": "notImplemented", "r.example": "refused", "d.example": "silence",
    "six.example": [{"type": "AAAA", "value": "2001:db8::6"}]})");
  Query(L"f.example", DNS_TYPE_A, 9001);
  Query(L"s.example", DNS_TYPE_A, 9002);
  Query(L"n.example", DNS_TYPE_A, 9004);
  Query(L"r.example", DNS_TYPE_A, 9005);
  Query(L"d.example", DNS_TYPE_A, 1460);
  Query(L"nobody.example", DNS_TYPE_A, 9003);
  Query(L"six.example", DNS_TYPE_A, 9501);
  Query(L"two words.example", DNS_TYPE_A, 9560);
  Query(L"a..example", DNS_TYPE_A, 123);
  Query(std::wstring(64, L'a').c_str(), DNS_TYPE_A, 123);
  Query(std::wstring(1000, L'a').c_str(), DNS_TYPE_A, 123);
  machine_.Remove("/dns");
  Query(L"six.example", DNS_TYPE_AAAA, 9852);
}

TEST_F(NetworkFacts, FullNameIsTheDomainsUnlessTold) {
  const auto fullName = [] {
    wchar_t name[64] = {};
    DWORD size = 64;
    EXPECT_TRUE(GetComputerNameExW(ComputerNameDnsFullyQualified, name, &size));
    return std::wstring(name);
  };
  EXPECT_EQ(fullName(), L"kvsource.corp.example");
  machine_.Remove("/computer/fullName");
  EXPECT_EQ(fullName(), L"KVSOURCE");
  Set("/domain", R"({"name": "ad.example", "netbiosName": "AD"})");
  EXPECT_EQ(fullName(), L"KVSOURCE.ad.example");
}

}  // namespace
}  // namespace Lab
