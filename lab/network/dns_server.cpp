// Real DNS servers, over the host's resolver library.
#include <algorithm>
#include <vector>

#include "machine/machine.h"
#include "network/address_text.h"
#include "network/dns_query.h"
#include "network/resolver_state.h"
#include "winerror.h"

namespace Lab {
namespace {

constexpr std::uint16_t kDnsPort = 53;
constexpr std::uint32_t kFirstServerCode = 9000;

/// \return The reply's bytes; none when no server gave any. A refusal is a reply.
std::vector<unsigned char> Ask(ResolverState& servers, const std::string& name,
                               std::uint16_t type) {
  constexpr double kSeconds = 12.0;  // Of the machine.
  const res_state state = servers.Get();
  state->options = RES_INIT | RES_RECURSE;
  state->retry = 2;
  const double speed = TheMachine().Describe().clock.speed;
  state->retrans = std::max(1, static_cast<int>(kSeconds / speed / state->retry));
  std::vector<unsigned char> question(NS_PACKETSZ);
  const int length = res_nmkquery(state, ns_o_query, name.c_str(), ns_c_in, type, nullptr, 0,
                                  nullptr, question.data(), static_cast<int>(question.size()));
  if (length < 0) return {};
  std::vector<unsigned char> reply(NS_MAXMSG);
  const int received =
      res_nsend(state, question.data(), length, reply.data(), static_cast<int>(reply.size()));
  if (received > 0) {
    reply.resize(static_cast<std::size_t>(received));
    return reply;
  }
  // The library takes a refusal for no reply, but leaves its header where it read it.
  const auto* const header = reinterpret_cast<const HEADER*>(reply.data());
  if (header->qr == 0 || header->rcode == ns_r_noerror) return {};
  reply.resize(NS_HFIXEDSZ);
  return reply;
}

std::wstring Expanded(const ns_msg& message, const unsigned char* at) {
  char name[NS_MAXDNAME] = {};
  if (ns_name_uncompress(ns_msg_base(message), ns_msg_end(message), at, name, sizeof(name)) < 0) {
    return {};
  }
  return ToWide(name);
}

/// \return False for an address of a length that none has.
bool ReadAnswer(const ns_msg& message, ns_sect section, const ns_rr& from, DnsRecord& record) {
  record.name = ToWide(ns_rr_name(from));
  record.type = static_cast<std::uint16_t>(ns_rr_type(from));
  record.section = section;
  record.lifetime = ns_rr_ttl(from);
  if (record.type == kDnsTypeAlias) {
    record.target = Expanded(message, ns_rr_rdata(from));
    return !record.target.empty();
  }
  record.data.assign(reinterpret_cast<const char*>(ns_rr_rdata(from)), ns_rr_rdlen(from));
  if (record.type == kDnsTypeA) return record.data.size() == sizeof(in_addr);
  return record.type != kDnsTypeAaaa || record.data.size() == sizeof(in6_addr);
}

/// \return False when the message isn't one.
bool ReadRecords(ns_msg& message, std::vector<DnsRecord>& records) {
  for (const ns_sect section : {ns_s_an, ns_s_ns, ns_s_ar}) {
    for (int i = 0; i < ns_msg_count(message, section); ++i) {
      ns_rr from;
      DnsRecord record;
      if (ns_parserr(&message, section, i, &from) != 0 ||
          !ReadAnswer(message, section, from, record)) {
        return false;
      }
      records.push_back(std::move(record));
    }
  }
  return true;
}

DnsReply ReadReply(const std::vector<unsigned char>& bytes) {
  ns_msg message;
  if (ns_initparse(bytes.data(), static_cast<int>(bytes.size()), &message) != 0) {
    const auto code = reinterpret_cast<const HEADER*>(bytes.data())->rcode;
    return {code != 0 ? kFirstServerCode + code : DNS_ERROR_BAD_PACKET, {}};
  }
  const auto code = static_cast<std::uint32_t>(ns_msg_getflag(message, ns_f_rcode));
  if (code != 0) return {kFirstServerCode + code, {}};
  std::vector<DnsRecord> records;
  if (!ReadRecords(message, records)) return {DNS_ERROR_BAD_PACKET, {}};
  return DnsReply::Of(std::move(records));
}

/// Where the server really is.
std::optional<SocketAddress> RealServer(const SocketAddress& server) {
  const HostPort known{CanonicalHost(AddressText(&server.any)), kDnsPort};
  const HostPort real = TheMachine().Describe().addressMap.RealOf(known);
  std::optional<SocketAddress> place = ParseAddress(real.host);
  if (!place) return std::nullopt;
  const bool ipv4 = place->any.sa_family == AF_INET;
  (ipv4 ? place->v4.sin_port : place->v6.sin6_port) = htons(real.port);
  return place;
}

DnsReply Query(ResolverState& servers, const std::wstring& name, std::uint16_t type) {
  const std::vector<unsigned char> reply = Ask(servers, ToUtf8(name), type);
  if (reply.empty()) return {ERROR_TIMEOUT, {}};
  return ReadReply(reply);
}

}  // namespace

DnsReply QueryDnsServer(const SocketAddress& server, const std::wstring& name, std::uint16_t type) {
  const auto place = RealServer(server);
  if (!place) return {ERROR_TIMEOUT, {}};
  ResolverState servers;
  servers.UseServer(*place);
  return Query(servers, name, type);
}

DnsReply QueryHostDns(const std::wstring& name, std::uint16_t type) {
  ResolverState servers;
  return Query(servers, name, type);
}

}  // namespace Lab
