// The machine's network adapters as its description tells them.
#pragma once

#include <netinet/in.h>

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

struct Adapter {
  struct Unicast {
    SocketAddress address;
    bool dnsEligible = true;
    bool transient = false;
  };
  bool ipv4 = true;
  bool ipv6 = true;
  std::vector<Unicast> addresses;
};

/// \param list  The description's member, already tested against the schema.
/// \throw std::invalid_argument with the place in the document of a text that isn't an address.
std::vector<Adapter> ReadAdapters(const Json::Value& list);

}  // namespace Lab
