#include "machine/adapters.h"

#include <arpa/inet.h>

#include <charconv>
#include <limits>
#include <map>
#include <stdexcept>

#include "machine/hex_bytes.h"
#include "machine/text.h"

namespace Lab {
namespace {

constexpr std::uint32_t kEthernet = 6;

/// Takes "%7" off the end of \p text. \return The scope; 0 without one, nothing for a bad one.
std::optional<std::uint32_t> TakeScope(std::string& text) {
  const std::size_t at = text.find('%');
  if (at == std::string::npos) return 0;
  std::uint32_t scope = 0;
  const char* const end = text.data() + text.size();
  const auto parsed = std::from_chars(text.data() + at + 1, end, scope);
  if (parsed.ec != std::errc() || parsed.ptr != end) return std::nullopt;
  text.resize(at);
  return scope;
}

SocketAddress ReadAddress(const Json::Value& text, const std::string& place) {
  const auto address = ParseAddress(text.asString());
  if (!address) throw std::invalid_argument(place + ": expected an IPv4 or IPv6 address");
  return *address;
}

std::vector<SocketAddress> ReadAddresses(const Json::Value& texts, const std::string& place) {
  std::vector<SocketAddress> addresses;
  for (Json::ArrayIndex i = 0; i < texts.size(); ++i) {
    addresses.push_back(ReadAddress(texts[i], place + "/" + std::to_string(i)));
  }
  return addresses;
}

std::optional<SocketAddress> ReadServer(const Json::Value& adapter, const char* member, int family,
                                        const std::string& place) {
  if (!adapter.isMember(member)) return std::nullopt;
  const std::string at = place + "/" + member;
  const SocketAddress address = ReadAddress(adapter[member], at);
  if (address.any.sa_family == family) return address;
  throw std::invalid_argument(at + ": expected an address of the other family");
}

std::uint32_t Origin(const std::string& name) {
  static const std::map<std::string, std::uint32_t> kOrigins = {{"other", 0},
                                                                {"manual", 1},
                                                                {"wellKnown", 2},
                                                                {"dhcp", 3},
                                                                {"routerAdvertisement", 4},
                                                                {"linkLayerAddress", 4},
                                                                {"random", 5},
                                                                {"unchanged", 16}};
  return kOrigins.at(name);
}

Adapter::Unicast ReadUnicast(const Json::Value& entry, const std::string& place) {
  constexpr unsigned kUsualPrefix4 = 24, kUsualPrefix6 = 64, kLongestPrefix4 = 32;
  Adapter::Unicast unicast{};
  unicast.address = ReadAddress(entry["address"], place + "/address");
  const bool ipv4 = unicast.address.any.sa_family == AF_INET;
  unicast.dnsEligible = entry.get("dnsEligible", true).asBool();
  unicast.transient = entry.get("transient", false).asBool();
  const unsigned prefix = entry.get("prefixLength", ipv4 ? kUsualPrefix4 : kUsualPrefix6).asUInt();
  if (ipv4 && prefix > kLongestPrefix4) {
    throw std::invalid_argument(place + "/prefixLength: expected at most 32 for IPv4");
  }
  unicast.prefixLength = static_cast<std::uint8_t>(prefix);
  unicast.prefixOrigin = Origin(entry.get("prefixOrigin", "manual").asString());
  unicast.suffixOrigin = Origin(entry.get("suffixOrigin", "manual").asString());
  return unicast;
}

Adapter ReadAdapter(const Json::Value& from, const std::string& place) {
  Adapter adapter;
  adapter.type = from.get("type", kEthernet).asUInt();
  adapter.mac = HexBytes(from.get("mac", "").asString());
  adapter.ipv4 = from.get("ipv4", true).asBool();
  adapter.ipv6 = from.get("ipv6", true).asBool();
  adapter.dhcp = from.get("dhcp", false).asBool();
  for (Json::ArrayIndex i = 0; i < from["addresses"].size(); ++i) {
    adapter.addresses.push_back(
        ReadUnicast(from["addresses"][i], place + "/addresses/" + std::to_string(i)));
  }
  adapter.gateways = ReadAddresses(from["gateways"], place + "/gateways");
  adapter.dnsServers = ReadAddresses(from["dnsServers"], place + "/dnsServers");
  adapter.dnsSuffix = ToWide(from.get("dnsSuffix", "").asString());
  for (const Json::Value& suffix : from["dnsSuffixes"]) {
    adapter.dnsSuffixes.push_back(ToWide(suffix.asString()));
  }
  adapter.dhcpServer4 = ReadServer(from, "dhcpServer4", AF_INET, place);
  adapter.dhcpServer6 = ReadServer(from, "dhcpServer6", AF_INET6, place);
  adapter.duid = HexBytes(from.get("duid", "").asString());
  adapter.iaid = from.get("iaid", 0).asUInt();
  adapter.firstCall = from.get("firstCall", 1).asUInt();
  adapter.lastCall = from.get("lastCall", std::numeric_limits<std::uint32_t>::max()).asUInt();
  return adapter;
}

}  // namespace

socklen_t SocketAddress::Length() const {
  return any.sa_family == AF_INET ? sizeof(v4) : sizeof(v6);
}

std::optional<SocketAddress> ParseAddress(const std::string& text) {
  SocketAddress address{};
  if (inet_pton(AF_INET, text.c_str(), &address.v4.sin_addr) == 1) {
    address.v4.sin_family = AF_INET;
    return address;
  }
  address = {};
  std::string bare = text;
  const auto scope = TakeScope(bare);
  if (!scope || inet_pton(AF_INET6, bare.c_str(), &address.v6.sin6_addr) != 1) return std::nullopt;
  address.v6.sin6_family = AF_INET6;
  address.v6.sin6_scope_id = *scope;
  return address;
}

bool IsLoopback(const SocketAddress& address) {
  constexpr std::uint32_t kNetwork = 127;
  if (address.any.sa_family == AF_INET) return ntohl(address.v4.sin_addr.s_addr) >> 24 == kNetwork;
  return IN6_IS_ADDR_LOOPBACK(&address.v6.sin6_addr) != 0;
}

std::vector<Adapter> ReadAdapters(const Json::Value& list) {
  std::vector<Adapter> adapters;
  for (Json::ArrayIndex i = 0; i < list.size(); ++i) {
    adapters.push_back(ReadAdapter(list[i], "/adapters/" + std::to_string(i)));
    adapters.back().index = i + 1;
  }
  return adapters;
}

}  // namespace Lab
