// The machine's network adapters as its description tells them.
#pragma once

#include <netinet/in.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <json/value.h>

namespace Lab {

/// Room for an address of either family.
union SocketAddress {
  sockaddr any;
  sockaddr_in v4;
  sockaddr_in6 v6;

  /// Bytes that an address of its family takes.
  socklen_t Length() const;
};

/// \param text  An IPv4 or IPv6 address; the latter may end in "%" and a decimal scope.
/// \return Nothing when \p text isn't an address.
std::optional<SocketAddress> ParseAddress(const std::string& text);

/// Tells whether it never leaves the machine: any of 127.0.0.0/8, or ::1.
bool IsLoopback(const SocketAddress& address);

struct Adapter {
  struct Unicast {
    SocketAddress address;
    bool dnsEligible = true;
    bool transient = false;
    std::uint8_t prefixLength = 0;
    // By the numbers of IP_PREFIX_ORIGIN and IP_SUFFIX_ORIGIN.
    std::uint32_t prefixOrigin = 0;
    std::uint32_t suffixOrigin = 0;
  };
  std::uint32_t index = 0;
  std::uint32_t type = 0;  ///< By the numbers of IfType.
  std::string mac;         ///< Its bytes, at most 8.
  bool ipv4 = true;
  bool ipv6 = true;
  bool dhcp = false;
  std::vector<Unicast> addresses;
  std::vector<SocketAddress> gateways;
  std::vector<SocketAddress> dnsServers;
  std::wstring dnsSuffix;
  std::vector<std::wstring> dnsSuffixes;
  std::optional<SocketAddress> dhcpServer4;
  std::optional<SocketAddress> dhcpServer6;
  std::string duid;  ///< Its bytes, at most 130.
  std::uint32_t iaid = 0;

  // The calls of GetAdaptersAddresses that find the adapter, counted from 1.
  std::uint32_t firstCall = 0;
  std::uint32_t lastCall = 0;
};

/// \param list  The description's member, already tested against the schema.
/// \throw std::invalid_argument with the place in the document of a text that isn't an address.
std::vector<Adapter> ReadAdapters(const Json::Value& list);

}  // namespace Lab
