// The system's parsers of address texts.
#pragma once

#include <optional>
#include <string>

#include "machine/adapters.h"

namespace Lab {

/// How far a parser came.
struct AddressParse {
  bool valid = false;
  /// The first character that wasn't consumed; null where the parser doesn't say.
  const wchar_t* end = nullptr;
};

/// \param strict  Four decimal parts without leading zeros. Else one to four parts, each decimal,
///                octal or hexadecimal, of which the last one fills what is left of the address.
AddressParse ParseIpv4Text(const wchar_t* text, bool strict, in_addr& address);

/// Without brackets, scope, port and prefix length; what follows an address isn't consumed.
AddressParse ParseIpv6Text(const wchar_t* text, in6_addr& address);

/// Reads the address of a host as the resolver does without asking anybody: any lax spelling of
/// IPv4, IPv6 with a decimal scope behind "%", in brackets, with a port behind those.
/// \return Nothing when \p text isn't an address as a whole.
std::optional<SocketAddress> ParseHostText(const std::wstring& text);

}  // namespace Lab
