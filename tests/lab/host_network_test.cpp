// Machines whose adapters and resolver are those of the host.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <net/if_arp.h>
#include <netpacket/packet.h>

#include <bit>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "host/windows_api.h"
#include "network/address_text.h"
#include "standins/dnsmasq/dnsmasq.h"
#include "support/lab_instance.h"
#include "support/private_network.h"

namespace Lab {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

using Texts = std::vector<std::string>;

class HostNetwork : public ::testing::Test {
 protected:
  HostNetwork() {
    machine_.Set("/adapters", "host");
    machine_.Set("/dns", "host");
    WSADATA data;
    EXPECT_EQ(WSAStartup(0x0202, &data), 0);
  }

  const IP_ADAPTER_ADDRESSES* Adapters() {
    constexpr ULONG kFlags = 150;
    ULONG size = 0;
    EXPECT_EQ(GetAdaptersAddresses(AF_UNSPEC, kFlags, nullptr, nullptr, &size),
              DWORD{ERROR_BUFFER_OVERFLOW});
    buffer_ = std::make_unique<std::byte[]>(size);
    auto* const list = reinterpret_cast<IP_ADAPTER_ADDRESSES*>(buffer_.get());
    EXPECT_EQ(GetAdaptersAddresses(AF_UNSPEC, kFlags, nullptr, list, &size), DWORD{ERROR_SUCCESS});
    return list;
  }
  /// The adapter with the hardware address; one without members if there is none.
  const IP_ADAPTER_ADDRESSES& AdapterOf(const std::string& mac) {
    static const IP_ADAPTER_ADDRESSES none{};
    for (const auto* adapter = Adapters(); adapter != nullptr; adapter = adapter->Next) {
      if (MacOf(*adapter) == mac) return *adapter;
    }
    ADD_FAILURE() << "no adapter has " << mac;
    return none;
  }
  static std::string MacOf(const IP_ADAPTER_ADDRESSES& adapter) {
    return Hex(adapter.PhysicalAddress, adapter.PhysicalAddressLength);
  }
  static std::string Hex(const unsigned char* bytes, std::size_t count) {
    std::string text;
    for (std::size_t i = 0; i < count; ++i) {
      text += "0123456789abcdef"[bytes[i] >> 4];
      text += "0123456789abcdef"[bytes[i] & 15];
    }
    return text;
  }
  template <typename Entry>
  static Texts AddressesIn(const Entry* list) {
    Texts texts;
    for (const Entry* entry = list; entry != nullptr; entry = entry->Next) {
      texts.push_back(AddressText(entry->Address.lpSockaddr));
    }
    return texts;
  }

  static Texts Resolve(const wchar_t* name, int family, INT code = 0) {
    ADDRINFOW hints{};
    hints.ai_family = family;
    PADDRINFOW list = nullptr;
    EXPECT_EQ(GetAddrInfoW(name, nullptr, &hints, &list), code) << WideText(name);
    Texts texts;
    for (const ADDRINFOW* entry = list; entry != nullptr; entry = entry->ai_next) {
      texts.push_back(AddressText(entry->ai_addr));
    }
    FreeAddrInfoW(list);
    return texts;
  }
  /// \return How many records the answer has.
  static int Query(const wchar_t* name, WORD type, DNS_STATUS status = 0) {
    PDNS_RECORD list = nullptr;
    EXPECT_EQ(DnsQuery_W(name, type, 0x1100, nullptr, &list, nullptr), status) << WideText(name);
    int count = 0;
    for (const DNS_RECORDW* record = list; record != nullptr; record = record->pNext) {
      if (record->Flags.S.Section == DnsSectionAnswer) ++count;
    }
    DnsFree(list, DnsFreeRecordList);
    return count;
  }
  static std::string WideText(const wchar_t* name) { return ToUtf8(name); }

  Instance machine_;
  std::unique_ptr<std::byte[]> buffer_;
};

int Bits(const sockaddr* mask) {
  int bits = 0;
  const bool ipv4 = mask->sa_family == AF_INET;
  const auto* const bytes = ipv4 ? reinterpret_cast<const unsigned char*>(
                                       &reinterpret_cast<const sockaddr_in*>(mask)->sin_addr)
                                 : reinterpret_cast<const unsigned char*>(
                                       &reinterpret_cast<const sockaddr_in6*>(mask)->sin6_addr);
  for (std::size_t i = 0; i < (ipv4 ? sizeof(in_addr) : sizeof(in6_addr)); ++i) {
    bits += std::popcount(bytes[i]);
  }
  return bits;
}

struct HostFacts {
  std::multiset<std::string> addresses;  ///< With "/" and the length of the prefix.
  std::set<std::string> macs;
};

/// The host's own word on its interfaces.
HostFacts AskHost() {
  HostFacts facts;
  ifaddrs* list = nullptr;
  EXPECT_EQ(getifaddrs(&list), 0);
  const std::unique_ptr<ifaddrs, decltype(&freeifaddrs)> owner(list, freeifaddrs);
  for (const ifaddrs* entry = list; entry != nullptr; entry = entry->ifa_next) {
    if (entry->ifa_addr == nullptr) continue;
    const int family = entry->ifa_addr->sa_family;
    if (family == AF_INET || family == AF_INET6) {
      facts.addresses.insert(AddressText(entry->ifa_addr) + "/" +
                             std::to_string(Bits(entry->ifa_netmask)));
    } else if (family == AF_PACKET) {
      const auto& link = *reinterpret_cast<const sockaddr_ll*>(entry->ifa_addr);
      if (link.sll_hatype != ARPHRD_ETHER) continue;
      std::string mac;
      for (int i = 0; i < link.sll_halen; ++i) {
        mac += "0123456789abcdef"[link.sll_addr[i] >> 4];
        mac += "0123456789abcdef"[link.sll_addr[i] & 15];
      }
      facts.macs.insert(mac);
    }
  }
  return facts;
}

TEST_F(HostNetwork, HasTheAddressesThatTheHostTells) {
  HostFacts seen;
  for (const auto* adapter = Adapters(); adapter != nullptr; adapter = adapter->Next) {
    if (adapter->PhysicalAddressLength > 0) seen.macs.insert(MacOf(*adapter));
    for (const auto* entry = adapter->FirstUnicastAddress; entry != nullptr; entry = entry->Next) {
      seen.addresses.insert(AddressText(entry->Address.lpSockaddr) + "/" +
                            std::to_string(entry->OnLinkPrefixLength));
    }
  }
  const HostFacts told = AskHost();
  EXPECT_EQ(seen.addresses, told.addresses);
  EXPECT_EQ(seen.macs, told.macs);
}

/// In a network that is the test's own.
class PrivateHostNetwork : public HostNetwork {
 protected:
  static Dnsmasq::Settings Names() {
    Dnsmasq::Settings settings;
    settings.port = 53;
    settings.hosts = {{"kv.example", "192.0.2.10"},
                      {"kv.example", "2001:db8::10"},
                      {"real.example", "198.51.100.20"},
                      {"short.corp.example", "192.0.2.10"}};
    settings.aliases = {{"alias.example", "real.example"}};
    return settings;
  }
};

TEST_F(PrivateHostNetwork, AdapterHasWhatTheKernelKnows) {
  const std::string obstacle = RunInPrivateNetwork([&] {
    const IP_ADAPTER_ADDRESSES& lan = AdapterOf("02000000000a");
    EXPECT_EQ(lan.IfIndex, if_nametoindex("lan"));
    EXPECT_EQ(lan.IfType, 6u);
    EXPECT_EQ(lan.Flags, ULONG{IP_ADAPTER_IPV4_ENABLED | IP_ADAPTER_IPV6_ENABLED});
    EXPECT_THAT(AddressesIn(lan.FirstGatewayAddress),
                UnorderedElementsAre("192.0.2.1", "fe80::1%" + std::to_string(lan.IfIndex)));
    EXPECT_THAT(AddressesIn(lan.FirstDnsServerAddress), ElementsAre("127.0.0.1"));
    EXPECT_STREQ(lan.FirstDnsSuffix->String, L"corp.example");
    EXPECT_EQ(lan.Dhcpv4Server.lpSockaddr, nullptr);
    EXPECT_EQ(lan.Dhcpv6ClientDuidLength, 0u);
    for (const auto* entry = lan.FirstUnicastAddress; entry != nullptr; entry = entry->Next) {
      const std::string text = AddressText(entry->Address.lpSockaddr);
      const bool isForOneLink = text.starts_with("fe80::");
      EXPECT_EQ(entry->Flags, isForOneLink ? 0u : DWORD{IP_ADAPTER_ADDRESS_DNS_ELIGIBLE}) << text;
      EXPECT_EQ(entry->PrefixOrigin, isForOneLink ? IpPrefixOriginWellKnown : IpPrefixOriginManual);
      EXPECT_EQ(entry->OnLinkPrefixLength, text == "192.0.2.10" ? 24 : 64) << text;
    }
  });
  if (!obstacle.empty()) GTEST_SKIP() << obstacle;
}

TEST_F(PrivateHostNetwork, AddressForATimeIsGivenByDhcp) {
  const std::string obstacle = RunInPrivateNetwork([&] {
    const IP_ADAPTER_ADDRESSES& leased = AdapterOf("020000000014");
    EXPECT_NE(leased.Flags & IP_ADAPTER_DHCP_ENABLED, 0u);
    EXPECT_THAT(AddressesIn(leased.FirstGatewayAddress), IsEmpty());
    int given = 0;
    for (const auto* entry = leased.FirstUnicastAddress; entry != nullptr; entry = entry->Next) {
      if ((entry->Flags & IP_ADAPTER_ADDRESS_DNS_ELIGIBLE) == 0) continue;
      EXPECT_EQ(entry->PrefixOrigin, IpPrefixOriginDhcp);
      EXPECT_EQ(entry->SuffixOrigin, IpSuffixOriginDhcp);
      ++given;
    }
    EXPECT_EQ(given, 2);
  });
  if (!obstacle.empty()) GTEST_SKIP() << obstacle;
}

TEST_F(PrivateHostNetwork, LoopbackComesLastAndIsNotForDns) {
  const std::string obstacle = RunInPrivateNetwork([&] {
    const IP_ADAPTER_ADDRESSES* last = Adapters();
    while (last->Next != nullptr) last = last->Next;
    EXPECT_EQ(last->IfType, 24u);
    EXPECT_EQ(last->PhysicalAddressLength, 0u);
    EXPECT_EQ(last->FirstDnsServerAddress, nullptr);
    EXPECT_THAT(AddressesIn(last->FirstUnicastAddress), UnorderedElementsAre("127.0.0.1", "::1"));
    EXPECT_EQ(last->FirstUnicastAddress->Flags, 0u);
  });
  if (!obstacle.empty()) GTEST_SKIP() << obstacle;
}

TEST_F(PrivateHostNetwork, NamesAreLookedUpWhereTheHostLooks) {
  if (!Dnsmasq::Installed()) GTEST_SKIP() << "Debian's package dnsmasq-base isn't installed";
  const std::string obstacle = RunInPrivateNetwork([&] {
    const Dnsmasq server(Names());
    EXPECT_THAT(Resolve(L"kv.example", AF_INET), ElementsAre("192.0.2.10"));
    EXPECT_THAT(Resolve(L"kv.example", AF_INET6), ElementsAre("2001:db8::10"));
    EXPECT_THAT(Resolve(L"kv.example", AF_UNSPEC),
                UnorderedElementsAre("192.0.2.10", "2001:db8::10"));
    EXPECT_THAT(Resolve(L"alias.example", AF_INET), ElementsAre("198.51.100.20"));
    EXPECT_THAT(Resolve(L"short", AF_INET), ElementsAre("192.0.2.10"));
    EXPECT_THAT(Resolve(L"filed.example", AF_INET), ElementsAre("192.0.2.10"));
    EXPECT_THAT(Resolve(L"nobody.example", AF_INET, WSAHOST_NOT_FOUND), IsEmpty());
    EXPECT_THAT(Resolve(L"a..example", AF_INET, WSAHOST_NOT_FOUND), IsEmpty());
    EXPECT_THAT(Resolve(std::wstring(1000, L'a').c_str(), AF_INET, WSAHOST_NOT_FOUND), IsEmpty());
    // The machine's own name is known to itself alone.
    EXPECT_THAT(Resolve(L"kvsource", AF_INET), UnorderedElementsAre("192.0.2.10", "198.51.100.20"));
  });
  if (!obstacle.empty()) GTEST_SKIP() << obstacle;
}

TEST_F(PrivateHostNetwork, QueriesGoToTheHostsServers) {
  if (!Dnsmasq::Installed()) GTEST_SKIP() << "Debian's package dnsmasq-base isn't installed";
  const std::string obstacle = RunInPrivateNetwork([&] {
    {
      const Dnsmasq server(Names());
      EXPECT_EQ(Query(L"kv.example", DNS_TYPE_A), 1);
      EXPECT_EQ(Query(L"kv.example", DNS_TYPE_AAAA), 1);
      EXPECT_EQ(Query(L"alias.example", DNS_TYPE_A), 2);
      EXPECT_EQ(Query(L"filed.example", DNS_TYPE_A, 9003), 0);
      EXPECT_EQ(Query(L"real.example", DNS_TYPE_AAAA, 9501), 0);
      EXPECT_EQ(Query(L"short", DNS_TYPE_A, 9005), 0);
      EXPECT_EQ(Query(std::wstring(1000, L'a').c_str(), DNS_TYPE_A, 123), 0);
    }
    machine_.Set("/clock/speed", 1000);
    EXPECT_EQ(Query(L"kv.example", DNS_TYPE_A, 1460), 0);
  });
  if (!obstacle.empty()) GTEST_SKIP() << obstacle;
}

}  // namespace
}  // namespace Lab
