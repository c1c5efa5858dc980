// What the machine's resolver knows by itself, and the DNS servers behind it.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include <json/value.h>

#include "machine/adapters.h"
#include "machine/text.h"

namespace Lab {

/// A record of a DNS reply.
struct DnsRecord {
  std::wstring name;
  std::uint16_t type = 0;
  unsigned section = 1;  ///< 1 answer, 2 authority, 3 additional.
  std::uint32_t lifetime = 0;
  std::wstring target;  ///< Of an alias.
  std::string data;     ///< Of any other record, as it goes over the wire.
};

/// What DNS servers know of a name.
struct DnsName {
  /// The status of every query; nothing when there are records to answer with.
  std::optional<std::uint32_t> failure;

  struct Record {
    DnsRecord record;
    /// The types of questions whose reply it's part of; none: all.
    std::vector<std::uint16_t> questions;
  };
  std::vector<Record> records;
};

struct NameService {
  using Hosts = std::map<std::wstring, std::vector<SocketAddress>, LessNoCase>;
  using Names = std::map<std::wstring, DnsName, LessNoCase>;

  Hosts hosts;  ///< The hosts file. A name without addresses has an answer without any.

  bool hasDns = false;                  ///< A DNS server is configured.
  bool hostResolver = false;            ///< Names are looked up as on the host; the rest is empty.
  Names names;                          ///< What it answers, but for
  std::optional<SocketAddress> server;  ///< a real one: it is asked in their place.
  std::vector<std::wstring> suffixes;   ///< Appended to names without a dot.
};

/// \param hosts, dns  The description's members, already tested against the schema.
/// \throw std::invalid_argument with the place in the document of what can't be.
NameService ReadNameService(const Json::Value& hosts, const Json::Value& dns);

}  // namespace Lab
