#include "network/name_resolver.h"

#include <algorithm>
#include <cstring>

#include "machine/machine.h"
#include "network/address_parser.h"
#include "network/dns_query.h"
#include "network/host_adapters.h"
#include "network/host_resolver.h"
#include "winsock2.h"

namespace Lab {
namespace {

using Addresses = std::vector<SocketAddress>;

Addresses OfFamily(const Addresses& all, int family) {
  Addresses chosen;
  std::copy_if(all.begin(), all.end(), std::back_inserter(chosen), [&](const auto& address) {
    return family == AF_UNSPEC || address.any.sa_family == family;
  });
  return chosen;
}

/// What the machine calls itself: the addresses of its adapters, without loopback unless that is
/// all there is.
Addresses OwnAddresses() {
  Addresses all, real;
  for (const Adapter& adapter : CurrentAdapters()) {
    for (const Adapter::Unicast& unicast : adapter.addresses) {
      all.push_back(unicast.address);
      if (!IsLoopback(unicast.address)) real.push_back(unicast.address);
    }
  }
  return real.empty() ? all : real;
}

bool IsOwnName(const std::wstring& name) {
  const Description& machine = TheMachine().Describe();
  return name.empty() || EqualNoCase(name, machine.computerName) ||
         EqualNoCase(name, machine.fullName);
}

Addresses LoopbackAddresses() { return {*ParseAddress("::1"), *ParseAddress("127.0.0.1")}; }

SocketAddress AddressIn(const DnsRecord& record) {
  SocketAddress address{};
  if (record.type == kDnsTypeA) {
    address.v4.sin_family = AF_INET;
    std::memcpy(&address.v4.sin_addr, record.data.data(), sizeof(in_addr));
  } else {
    address.v6.sin6_family = AF_INET6;
    std::memcpy(&address.v6.sin6_addr, record.data.data(), sizeof(in6_addr));
  }
  return address;
}

bool IsAddressRecord(const DnsRecord& record) {
  if (record.section != 1) return false;
  return (record.type == kDnsTypeA && record.data.size() == sizeof(in_addr)) ||
         (record.type == kDnsTypeAaaa && record.data.size() == sizeof(in6_addr));
}

/// The resolver's code for one of DNS.
std::uint32_t LookupError(std::uint32_t status) {
  switch (status) {
    case ERROR_SUCCESS:
    case DNS_INFO_NO_RECORDS:
      return WSANO_DATA;
    case ERROR_TIMEOUT:
    case DNS_ERROR_RCODE_SERVER_FAILURE:
      return WSATRY_AGAIN;
    default:
      return WSAHOST_NOT_FOUND;
  }
}

Resolution AskForType(const std::wstring& name, std::uint16_t type) {
  const DnsReply reply = QueryDns(name, type);
  Resolution found;
  for (const DnsRecord& record : reply.records) {
    if (record.type == type && IsAddressRecord(record))
      found.addresses.push_back(AddressIn(record));
  }
  found.error = found.addresses.empty() ? LookupError(reply.status) : 0;
  return found;
}

/// For both families IPv6 comes first.
Resolution AskForFamily(const std::wstring& name, int family) {
  if (family == AF_INET) return AskForType(name, kDnsTypeA);
  Resolution found = AskForType(name, kDnsTypeAaaa);
  if (family == AF_INET6) return found;
  const Resolution ipv4 = AskForType(name, kDnsTypeA);
  if (found.error != 0) return ipv4;
  found.addresses.insert(found.addresses.end(), ipv4.addresses.begin(), ipv4.addresses.end());
  return found;
}

/// A name without a dot is tried below each suffix first.
Resolution AskDns(const std::wstring& name, int family) {
  const NameService& service = TheMachine().Describe().nameService;
  if (service.hostResolver) return ResolveOnHost(name, family);
  if (name.find(L'.') == std::wstring::npos) {
    for (const std::wstring& suffix : service.suffixes) {
      Resolution found = AskForFamily(name + L"." + suffix, family);
      if (found.error == 0) return found;
    }
  }
  return AskForFamily(name, family);
}

/// \return False when the sources on the machine don't know the name, or not in the family.
bool FindOnMachine(const std::wstring& name, int family, Resolution& found) {
  if (IsOwnName(name)) {
    found.addresses = OfFamily(OwnAddresses(), family);
  } else if (EqualNoCase(name, L"localhost")) {
    found.addresses = OfFamily(LoopbackAddresses(), family);
  }
  if (!found.addresses.empty()) return true;
  const NameService::Hosts& hosts = TheMachine().Describe().nameService.hosts;
  const auto entry = hosts.find(name);
  if (entry == hosts.end()) return false;
  found.addresses = OfFamily(entry->second, family);
  return !found.addresses.empty() || entry->second.empty();
}

}  // namespace

Resolution ResolveName(const std::wstring& name, int family, bool numericOnly) {
  Resolution found;
  const NameService::Hosts& hosts = TheMachine().Describe().nameService.hosts;
  if (const auto address = ParseHostText(name); address && !hosts.contains(name)) {
    found.addresses = OfFamily({*address}, family);
    if (found.addresses.empty()) found.error = WSAHOST_NOT_FOUND;
    return found;
  }
  // A described name may be an address: it stands for a resolver that knows more of it.
  if (numericOnly && !ParseHostText(name)) return {WSAHOST_NOT_FOUND, {}};
  if (FindOnMachine(name, family, found)) return found;
  if (numericOnly) return {WSAHOST_NOT_FOUND, {}};
  found = AskDns(name, family);
  if (found.error == WSAHOST_NOT_FOUND && (IsOwnName(name) || hosts.contains(name))) {
    found.error = WSANO_DATA;
  }
  return found;
}

}  // namespace Lab
