#include "network/host_adapters.h"

#include <linux/if_addr.h>
#include <net/if_arp.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <limits>

#include "machine/machine.h"
#include "network/host_network.h"
#include "network/host_resolver.h"

namespace Lab {
namespace {

// By the numbers of IfType.
constexpr std::uint32_t kOther = 1, kEthernet = 6, kTokenRing = 9, kPpp = 23, kLoopback = 24,
                        kAtm = 37, kWireless = 71, kTunnel = 131, kFireWire = 144;

// By the numbers of IP_PREFIX_ORIGIN and IP_SUFFIX_ORIGIN.
constexpr std::uint32_t kManual = 1, kWellKnown = 2, kDhcp = 3, kRouter = 4, kLinkLayer = 4,
                        kRandom = 5;

bool IsWireless(const std::string& link) {
  return std::filesystem::exists("/sys/class/net/" + link + "/wireless");
}

std::uint32_t LinkType(const HostLink& link) {
  switch (link.type) {
    case ARPHRD_ETHER:
      return IsWireless(link.name) ? kWireless : kEthernet;
    case ARPHRD_PRONET:
    case ARPHRD_IEEE802_TR:
      return kTokenRing;
    case ARPHRD_PPP:
      return kPpp;
    case ARPHRD_LOOPBACK:
      return kLoopback;
    case ARPHRD_ATM:
      return kAtm;
    case ARPHRD_IEEE80211:
      return kWireless;
    case ARPHRD_TUNNEL:
    case ARPHRD_TUNNEL6:
    case ARPHRD_SIT:
    case ARPHRD_IPGRE:
    case ARPHRD_NONE:
      return kTunnel;
    case ARPHRD_IEEE1394:
      return kFireWire;
    default:
      return kOther;
  }
}

/// \return Empty for a link whose address isn't one of hardware.
std::string MacOf(const HostLink& link) {
  constexpr std::size_t kLongest = 8;
  const std::uint32_t type = LinkType(link);
  const bool isHardware =
      type == kEthernet || type == kWireless || type == kTokenRing || type == kFireWire;
  return isHardware && link.address.size() <= kLongest ? link.address : std::string();
}

bool HasIpv6(const std::string& link) {
  std::ifstream disabled("/proc/sys/net/ipv6/conf/" + link + "/disable_ipv6");
  return disabled.get() == '0';
}

bool IsIpv6(const SocketAddress& address) { return address.any.sa_family == AF_INET6; }

bool IsForOneLink(const SocketAddress& address) {
  return IsIpv6(address) && IN6_IS_ADDR_LINKLOCAL(&address.v6.sin6_addr);
}

struct Origins {
  std::uint32_t prefix;
  std::uint32_t suffix;
};

Origins OriginsOf(const HostAddress& from) {
  constexpr std::uint8_t kWholeAddress = 128;
  if (IsLoopback(from.address)) return {kWellKnown, kWellKnown};
  if (IsForOneLink(from.address)) return {kWellKnown, kLinkLayer};
  if ((from.flags & IFA_F_PERMANENT) != 0) return {kManual, kManual};
  if (!IsIpv6(from.address) || from.prefixLength == kWholeAddress) return {kDhcp, kDhcp};
  return {kRouter, (from.flags & IFA_F_TEMPORARY) != 0 ? kRandom : kLinkLayer};
}

/// Nobody finds the machine by an address of the link alone, or by one that it soon changes.
bool IsForDns(const HostAddress& from) {
  const bool changes = IsIpv6(from.address) && (from.flags & IFA_F_TEMPORARY) != 0;
  return !changes && !IsLoopback(from.address) && !IsForOneLink(from.address);
}

/// An address that another host may have isn't the machine's yet.
bool IsSettled(const HostAddress& address) {
  return (address.flags & (IFA_F_TENTATIVE | IFA_F_DADFAILED)) == 0;
}

void Add(const HostAddress& from, Adapter& adapter) {
  const Origins origins = OriginsOf(from);
  adapter.addresses.push_back({.address = from.address,
                               .dnsEligible = IsForDns(from),
                               .transient = false,
                               .prefixLength = from.prefixLength,
                               .prefixOrigin = origins.prefix,
                               .suffixOrigin = origins.suffix});
  if (!IsIpv6(from.address) && origins.prefix == kDhcp) adapter.dhcp = true;
}

Adapter AdapterOf(const HostLink& link) {
  Adapter adapter;
  adapter.index = link.index;
  adapter.type = LinkType(link);
  adapter.mac = MacOf(link);
  adapter.ipv6 = HasIpv6(link.name);
  adapter.lastCall = std::numeric_limits<std::uint32_t>::max();
  return adapter;
}

}  // namespace

std::vector<Adapter> ReadHostAdapters() {
  const std::vector<HostAddress> addresses = ReadHostAddresses();
  const std::vector<HostGateway> gateways = ReadHostGateways();
  const HostDns dns = ReadHostDns();
  std::vector<Adapter> adapters;
  for (const HostLink& link : ReadHostLinks()) {
    Adapter adapter = AdapterOf(link);
    for (const HostAddress& address : addresses) {
      if (address.link == link.index && IsSettled(address)) Add(address, adapter);
    }
    for (const HostGateway& gateway : gateways) {
      if (gateway.link == link.index) adapter.gateways.push_back(gateway.address);
    }
    if (adapter.type != kLoopback) {
      adapter.dnsServers = dns.servers;
      adapter.dnsSuffixes = dns.suffixes;
    }
    adapters.push_back(std::move(adapter));
  }
  (void)std::stable_partition(adapters.begin(), adapters.end(),
                              [](const Adapter& a) { return a.type != kLoopback; });
  return adapters;
}

std::vector<Adapter> CurrentAdapters() {
  const Description& machine = TheMachine().Describe();
  return machine.hostAdapters ? ReadHostAdapters() : machine.adapters;
}

}  // namespace Lab
