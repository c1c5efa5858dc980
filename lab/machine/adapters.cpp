#include "machine/adapters.h"

#include <arpa/inet.h>

#include <charconv>
#include <stdexcept>

namespace Lab {
namespace {

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

Adapter::Unicast ReadUnicast(const Json::Value& entry, const std::string& place) {
  const auto address = ParseAddress(entry["address"].asString());
  if (!address) throw std::invalid_argument(place + "/address: expected an IPv4 or IPv6 address");
  return {*address, entry.get("dnsEligible", true).asBool(),
          entry.get("transient", false).asBool()};
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
  std::string bare = text;
  const auto scope = TakeScope(bare);
  if (!scope || inet_pton(AF_INET6, bare.c_str(), &address.v6.sin6_addr) != 1) return std::nullopt;
  address.v6.sin6_family = AF_INET6;
  address.v6.sin6_scope_id = *scope;
  return address;
}

std::vector<Adapter> ReadAdapters(const Json::Value& list) {
  std::vector<Adapter> adapters;
  for (Json::ArrayIndex i = 0; i < list.size(); ++i) {
    Adapter adapter{list[i].get("ipv4", true).asBool(), list[i].get("ipv6", true).asBool(), {}};
    const Json::Value& addresses = list[i]["addresses"];
    for (Json::ArrayIndex j = 0; j < addresses.size(); ++j) {
      const std::string place =
          "/adapters/" + std::to_string(i) + "/addresses/" + std::to_string(j);
      adapter.addresses.push_back(ReadUnicast(addresses[j], place));
    }
    adapters.push_back(std::move(adapter));
  }
  return adapters;
}

}  // namespace Lab
