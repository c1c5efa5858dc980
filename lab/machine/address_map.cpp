#include "machine/address_map.h"

#include <arpa/inet.h>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <stdexcept>

namespace Lab {
namespace {

/// \return The address anew, in its one spelling; nothing when \p text is no address of the family.
std::optional<std::string> CanonicalAddress(int family, const std::string& text) {
  in6_addr bytes{};  // Has room for either.
  char buffer[INET6_ADDRSTRLEN] = {};
  if (inet_pton(family, text.c_str(), &bytes) != 1) return std::nullopt;
  return inet_ntop(family, &bytes, buffer, sizeof(buffer));
}

bool IsAddress(const std::string& host) {
  return CanonicalAddress(AF_INET, host) || CanonicalAddress(AF_INET6, host);
}

std::optional<std::uint16_t> ParsePort(const std::string& digits) {
  std::uint16_t port = 0;
  const char* const end = digits.data() + digits.size();
  const auto parsed = std::from_chars(digits.data(), end, port);
  if (parsed.ec != std::errc() || parsed.ptr != end || port == 0) return std::nullopt;
  return port;
}

}  // namespace

std::string CanonicalHost(const std::string& host) {
  for (const int family : {AF_INET, AF_INET6}) {
    if (const auto address = CanonicalAddress(family, host)) return *address;
  }
  std::string name = host;
  std::transform(name.begin(), name.end(), name.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return name;
}

std::optional<HostPort> ParseHostPort(const std::string& text) {
  const std::size_t colon = text.rfind(':');
  if (colon == std::string::npos || colon == 0) return std::nullopt;
  const auto port = ParsePort(text.substr(colon + 1));
  if (!port) return std::nullopt;
  const std::string host = text.substr(0, colon);
  if (host.front() != '[') {
    if (host.find_first_of(":[] ") != std::string::npos) return std::nullopt;
    return HostPort{CanonicalHost(host), *port};
  }
  if (host.back() != ']') return std::nullopt;
  const auto address = CanonicalAddress(AF_INET6, host.substr(1, host.size() - 2));
  if (!address) return std::nullopt;
  return HostPort{*address, *port};
}

AddressMap::AddressMap(const Json::Value& members) {
  for (const std::string& name : members.getMemberNames()) {
    const auto from = ParseHostPort(name);
    const auto to = ParseHostPort(members[name].asString());
    if (!from) {
      throw std::invalid_argument("/addressMap: expected an address or name, a colon and a port: " +
                                  name);
    }
    if (!to || !IsAddress(to->host)) {
      throw std::invalid_argument("/addressMap/" + name + ": expected an address and a port");
    }
    real_[*from] = *to;
  }
}

HostPort AddressMap::RealOf(const HostPort& address) const {
  const auto found = real_.find(address);
  return found == real_.end() ? address : found->second;
}

std::vector<HostPort> AddressMap::RealAddressesOf(const std::string& name,
                                                  std::uint16_t port) const {
  const HostPort named{CanonicalHost(name), port};
  if (real_.contains(named) || IsAddress(named.host)) return {RealOf(named)};
  if (named.host != "localhost") return {};
  return {RealOf({"::1", port}), RealOf({"127.0.0.1", port})};
}

}  // namespace Lab
