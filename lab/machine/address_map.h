// Where the addresses of the machine's network really are, so that fixed ports need neither root
// nor a private network.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include <json/value.h>

namespace Lab {

/// One end of a connection: an IPv4 or IPv6 address, or a name, and a port.
struct HostPort {
  std::string host;  ///< An address as inet_ntop writes it, or a name in lower case.
  std::uint16_t port = 0;

  auto operator<=>(const HostPort&) const = default;
};

/// \return The address in the form of HostPort::host, or the name in lower case.
std::string CanonicalHost(const std::string& host);

/// Reads "192.0.2.20:22", "[2001:db8::1]:22" or "kv.example:22".
/// \return Nothing when \p text is no such thing.
std::optional<HostPort> ParseHostPort(const std::string& text);

/// What the description's member addressMap says.
class AddressMap {
 public:
  AddressMap() = default;
  /// \param members  Already tested against the schema.
  /// \throw std::invalid_argument with the place in the document of an entry that can't be.
  explicit AddressMap(const Json::Value& members);

  /// \return Where the host's own connect has to go; \p address itself when it isn't mapped.
  HostPort RealOf(const HostPort& address) const;

  /// What a connection to \p name may try, in this order, with the map already applied: the name's
  /// own entry alone if it has one, an address as it is, for "localhost" the address of loopback in
  /// both families, IPv6 first. Nothing for any other name: the machine doesn't know it.
  std::vector<HostPort> RealAddressesOf(const std::string& name, std::uint16_t port) const;

 private:
  std::map<HostPort, HostPort> real_;
};

}  // namespace Lab
