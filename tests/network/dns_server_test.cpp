// The checks against a real DNS server.
#include <gmock/gmock.h>
#include <unistd.h>

#include "network/fqdn_check.h"
#include "network/name_validation.h"
#include "network_test.h"
#include "standins/dnsmasq/dnsmasq.h"

namespace Halvard::Network {
namespace {

using Testing::AdapterWith;
using ::testing::Contains;
using Testing::ErrorLine;
using Testing::InfoLine;
using Testing::JsonList;
using Testing::NamesTest;
using Testing::OwnLog;
using Testing::WarningLine;

Lab::Dnsmasq::Settings Names() {
  Lab::Dnsmasq::Settings settings;
  settings.hosts = {{"kv.example", "192.0.2.1"},    {"kv.example", "2001:db8::1"},
                    {"real.example", "192.0.2.1"},  {"elsewhere.example", "192.0.2.99"},
                    {"six.example", "2001:db8::1"}, {"local.example", "127.0.0.1"}};
  settings.aliases = {{"alias.example", "real.example"}};
  // More than a datagram of 512 bytes holds.
  for (int i = 1; i <= 100; ++i) {
    settings.hosts.push_back({"many.example", "192.0.2." + std::to_string(i)});
  }
  return settings;
}

bool HostHasIpv6Loopback() {
  const int probe = ::socket(AF_INET6, int{SOCK_STREAM}, 0);
  sockaddr_in6 address{};
  address.sin6_family = AF_INET6;
  address.sin6_addr = in6addr_loopback;
  const bool bound = bind(probe, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0;
  close(probe);
  return bound;
}

class DnsServerTest : public NamesTest {
 protected:
  void SetUp() override {
    if (!Lab::Dnsmasq::Installed()) GTEST_SKIP() << "Debian's package dnsmasq-base isn't installed";
    server_.emplace(Names());
    machine_.Set("/adapters", JsonList({AdapterWith({"192.0.2.1", "2001:db8::1"})}));
    machine_.Set("/dns/server", "192.0.2.53");
    machine_.Set("/addressMap/192.0.2.53:53", server_->Address());
  }

  bool Ask(const std::wstring& name, bool ipv4 = true) {
    counts_ = {};
    return IsFQDN(name, ipv4, &counts_);
  }

  std::optional<Lab::Dnsmasq> server_;
  AddressCheckCounts counts_;
};

TEST_F(DnsServerTest, AddressesOfBothFamiliesAreCounted) {
  EXPECT_TRUE(Ask(L"kv.example"));
  EXPECT_EQ(counts_.total, 1u);
  EXPECT_TRUE(counts_.primaryOnSystem);
  EXPECT_TRUE(Ask(L"kv.example", false));
  EXPECT_EQ(counts_.total, 1u);
  EXPECT_TRUE(counts_.primaryOnSystem);
}

TEST_F(DnsServerTest, ServerMayBeReachedByIPv6) {
  if (!HostHasIpv6Loopback()) GTEST_SKIP() << "the host has no ::1";
  Lab::Dnsmasq::Settings names = Names();
  names.ipv6 = true;
  server_.emplace(names);
  machine_.Remove("/addressMap");
  machine_.Set("/dns/server", "2001:db8::53");
  machine_.Set("/addressMap/[2001:db8::53]:53", server_->Ipv6Address());
  EXPECT_TRUE(Ask(L"kv.example"));
  EXPECT_TRUE(counts_.primaryOnSystem);
  EXPECT_TRUE(Ask(L"many.example"));
  EXPECT_EQ(counts_.total, 100u);
  EXPECT_FALSE(Ask(L"nobody.example"));
}

TEST_F(DnsServerTest, AliasComesFirst) {
  EXPECT_TRUE(Ask(L"alias.example"));
  EXPECT_EQ(counts_.total, 1u);
  EXPECT_EQ(counts_.onSystem, 1u);
  EXPECT_FALSE(counts_.primaryOnSystem);
}

TEST_F(DnsServerTest, ReplyThatWasCutIsFetchedWhole) {
  EXPECT_TRUE(Ask(L"many.example"));
  EXPECT_EQ(counts_.total, 100u);
  EXPECT_EQ(counts_.onSystem, 1u);
}

TEST_F(DnsServerTest, UnknownNameMissingRecordsAndRefusalHaveCodesOfTheirOwn) {
  const LogScope log;
  EXPECT_FALSE(Ask(L"nobody.example"));
  EXPECT_EQ(OwnLog().back(), ErrorLine(L"IsFQDN: IPv4 FQDN check for nobody.example failed: 9003"));
  EXPECT_FALSE(Ask(L"six.example"));
  EXPECT_EQ(OwnLog().back(), ErrorLine(L"IsFQDN: IPv4 FQDN check for six.example failed: 9501"));
  EXPECT_FALSE(Ask(L"kv.test"));
  EXPECT_EQ(OwnLog().back(), ErrorLine(L"IsFQDN: IPv4 FQDN check for kv.test failed: 9005"));
}

TEST_F(DnsServerTest, SilentServerTimesOut) {
  server_->Stop();
  machine_.Set("/clock/speed", 1000);
  const LogScope log;
  EXPECT_FALSE(Ask(L"kv.example"));
  EXPECT_EQ(OwnLog().back(), ErrorLine(L"IsFQDN: IPv4 FQDN check for kv.example failed: 1460"));
}

TEST_F(DnsServerTest, NameThatDnsKnowsIsValid) {
  const LogScope log;
  EXPECT_TRUE(ValidateFqdn(L"kv.example", false));
  EXPECT_TRUE(ValidateFqdn(L"KV.EXAMPLE", false));
  EXPECT_TRUE(ValidateFqdn(L"six.example", false));
}

TEST_F(DnsServerTest, AliasIsValidWithAWarning) {
  const LogScope log;
  EXPECT_TRUE(ValidateFqdn(L"alias.example", false));
  EXPECT_THAT(OwnLog(), Contains(WarningLine(L"ValidateFqdn: Secondary FQDN check could not "
                                             L"resolve primary IPv4 address")));
}

TEST_F(DnsServerTest, NameOfAnotherMachineIsNot) {
  EXPECT_FALSE(ValidateFqdn(L"elsewhere.example", false));
  EXPECT_FALSE(ValidateFqdn(L"nobody.example", false));
  EXPECT_FALSE(ValidateFqdn(L"local.example", false));
}

TEST_F(DnsServerTest, NameInTheHostsFileAloneIsNot) {
  SetHost("hosts-only.example", {"192.0.2.1"});
  const LogScope log;
  EXPECT_FALSE(ValidateFqdn(L"hosts-only.example", false));
  EXPECT_THAT(OwnLog(),
              Contains(WarningLine(L"ValidateFqdn: name hosts-only.example isn't a IPv4 FQDN")));
}

}  // namespace
}  // namespace Halvard::Network
