#include "network/address_text.h"

#include <arpa/inet.h>

#include <array>
#include <cstdint>
#include <cstdio>

namespace Lab {
namespace {

constexpr std::size_t kGroupCount = 8;
using Groups = std::array<std::uint16_t, kGroupCount>;

Groups GroupsOf(const in6_addr& address) {
  Groups groups{};
  for (std::size_t i = 0; i < kGroupCount; ++i) {
    groups[i] =
        static_cast<std::uint16_t>(address.s6_addr[2 * i] << 8 | address.s6_addr[2 * i + 1]);
  }
  return groups;
}

/// Whether the system shows the last two groups as an IPv4 address.
bool EndsDotted(const Groups& groups) {
  constexpr std::uint16_t kAll = 0xFFFF, kTunnel = 0x5EFE, kGlobalTunnel = 0x0200;
  if ((groups[4] == 0 || groups[4] == kGlobalTunnel) && groups[5] == kTunnel) return true;
  for (std::size_t i = 0; i < 4; ++i) {
    if (groups[i] != 0) return false;
  }
  if (groups[6] == 0) return false;
  return (groups[4] == 0 && (groups[5] == 0 || groups[5] == kAll)) ||
         (groups[4] == kAll && groups[5] == 0);
}

struct Run {
  std::size_t first = 0;
  std::size_t length = 0;
};

/// The first of the longest runs of two or more zeros; a length of 0 when there is none.
Run LongestZeros(const Groups& groups, std::size_t count) {
  Run longest, current;
  for (std::size_t i = 0; i < count; ++i) {
    if (groups[i] != 0) {
      current = {i + 1, 0};
      continue;
    }
    if (++current.length > longest.length) longest = current;
  }
  return longest.length < 2 ? Run{} : longest;
}

std::string Hexadecimal(std::uint16_t group) {
  char text[8];
  std::snprintf(text, sizeof(text), "%x", static_cast<unsigned>(group));
  return text;
}

std::string DottedEnd(const in6_addr& address) {
  in_addr last{};
  std::copy(address.s6_addr + 12, address.s6_addr + 16, reinterpret_cast<std::uint8_t*>(&last));
  char text[INET_ADDRSTRLEN] = {};
  return inet_ntop(AF_INET, &last, text, sizeof(text));
}

std::string TextOfIpv6(const in6_addr& address) {
  const Groups groups = GroupsOf(address);
  const bool dotted = EndsDotted(groups);
  const std::size_t count = dotted ? kGroupCount - 2 : kGroupCount;
  const Run zeros = LongestZeros(groups, count);
  std::string text;
  for (std::size_t i = 0; i < count; ++i) {
    if (zeros.length > 0 && i == zeros.first) {
      text += "::";
      i += zeros.length - 1;
      continue;
    }
    if (!text.empty() && text.back() != ':') text += ':';
    text += Hexadecimal(groups[i]);
  }
  if (!dotted) return text;
  if (text.back() != ':') text += ':';
  return text + DottedEnd(address);
}

}  // namespace

std::string AddressText(const sockaddr* address) {
  if (address->sa_family == AF_INET) {
    char text[INET_ADDRSTRLEN] = {};
    const auto* const v4 = reinterpret_cast<const sockaddr_in*>(address);
    return inet_ntop(AF_INET, &v4->sin_addr, text, sizeof(text));
  }
  const auto* const v6 = reinterpret_cast<const sockaddr_in6*>(address);
  std::string text = TextOfIpv6(v6->sin6_addr);
  if (v6->sin6_scope_id != 0) text += "%" + std::to_string(v6->sin6_scope_id);
  return text;
}

std::string EndPointText(const sockaddr* address) {
  const bool ipv4 = address->sa_family == AF_INET;
  const in_port_t port = ipv4 ? reinterpret_cast<const sockaddr_in*>(address)->sin_port
                              : reinterpret_cast<const sockaddr_in6*>(address)->sin6_port;
  const std::string text = AddressText(address);
  if (port == 0) return text;
  const std::string number = std::to_string(ntohs(port));
  return ipv4 ? text + ":" + number : "[" + text + "]:" + number;
}

}  // namespace Lab
