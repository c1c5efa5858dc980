// Questions to the DNS servers that the machine has: those of its description, or real ones.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "machine/name_service.h"

namespace Lab {

struct DnsReply {
  std::uint32_t status = 0;        ///< The system's code.
  std::vector<DnsRecord> records;  ///< In the order of the message.

  /// A reply that servers gave: it succeeds when the answer holds more than aliases.
  static DnsReply Of(std::vector<DnsRecord> records);
};

constexpr std::uint16_t kDnsTypeA = 1;
constexpr std::uint16_t kDnsTypeAlias = 5;
constexpr std::uint16_t kDnsTypeAaaa = 28;

/// Asks for a complete name. Servers that don't answer cost their time by the machine's clock.
/// \param name  With or without a final dot.
DnsReply QueryDns(const std::wstring& name, std::uint16_t type);

/// Asks a real server, by UDP and, for a reply that was cut, by TCP.
/// \param server  As the machine knows it: the description's address map tells where it is.
DnsReply QueryDnsServer(const SocketAddress& server, const std::wstring& name, std::uint16_t type);

/// Asks the servers that the host's resolver is configured with, in the same way.
DnsReply QueryHostDns(const std::wstring& name, std::uint16_t type);

}  // namespace Lab
