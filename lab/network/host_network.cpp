#include "network/host_network.h"

#include <libmnl/libmnl.h>
#include <linux/if_addr.h>
#include <linux/rtnetlink.h>

#include <cstring>
#include <functional>
#include <memory>
#include <optional>

namespace Lab {
namespace {

using Take = std::function<void(const nlmsghdr&)>;

struct CloseSocket {
  void operator()(mnl_socket* socket) const { mnl_socket_close(socket); }
};

int TakeMessage(const nlmsghdr* message, void* take) {
  (*static_cast<Take*>(take))(*message);
  return MNL_CB_OK;
}

/// Asks for all messages of a kind.
/// \return False when they aren't whole: the kernel refused, or its tables changed meanwhile.
bool Dump(std::uint16_t kind, int family, Take take) {
  constexpr std::size_t kRoom = 32'768;  // The kernel's answers come in pieces of this size.
  constexpr unsigned kSequence = 1;
  const std::unique_ptr<mnl_socket, CloseSocket> socket(
      mnl_socket_open2(NETLINK_ROUTE, SOCK_CLOEXEC));
  if (!socket || mnl_socket_bind(socket.get(), 0, MNL_SOCKET_AUTOPID) < 0) return false;
  std::vector<char> buffer(kRoom);
  nlmsghdr* const request = mnl_nlmsg_put_header(buffer.data());
  request->nlmsg_type = kind;
  request->nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
  request->nlmsg_seq = kSequence;
  auto* const header =
      static_cast<rtgenmsg*>(mnl_nlmsg_put_extra_header(request, sizeof(rtgenmsg)));
  header->rtgen_family = static_cast<unsigned char>(family);
  if (mnl_socket_sendto(socket.get(), request, request->nlmsg_len) < 0) return false;
  int more = MNL_CB_OK;
  while (more > MNL_CB_STOP) {
    const ssize_t bytes = mnl_socket_recvfrom(socket.get(), buffer.data(), buffer.size());
    if (bytes <= 0) return false;
    more = mnl_cb_run(buffer.data(), static_cast<std::size_t>(bytes), kSequence,
                      mnl_socket_get_portid(socket.get()), TakeMessage, &take);
  }
  return more == MNL_CB_STOP;
}

/// \param read  Makes a record of a message; nothing of one that has none.
template <typename Record>
std::vector<Record> ReadAll(std::uint16_t kind, int family,
                            std::optional<Record> (*read)(const nlmsghdr&)) {
  constexpr int kTries = 5;  // Tables that change while they are read are read again.
  for (int i = 0; i < kTries; ++i) {
    std::vector<Record> records;
    const auto take = [&](const nlmsghdr& message) {
      if (auto record = read(message)) records.push_back(std::move(*record));
    };
    if (Dump(kind, family, take)) return records;
  }
  return {};
}

struct Wanted {
  std::uint16_t kind = 0;
  std::string bytes;
};

int TakeAttribute(const nlattr* attribute, void* data) {
  auto& wanted = *static_cast<Wanted*>(data);
  if (mnl_attr_get_type(attribute) == wanted.kind) {
    wanted.bytes.assign(static_cast<const char*>(mnl_attr_get_payload(attribute)),
                        mnl_attr_get_payload_len(attribute));
  }
  return MNL_CB_OK;
}

/// \return What the message says of a kind; empty when it says nothing.
template <typename Header>
std::string Attribute(const nlmsghdr& message, std::uint16_t kind) {
  Wanted wanted{kind, {}};
  (void)mnl_attr_parse(&message, sizeof(Header), TakeAttribute, &wanted);
  return wanted.bytes;
}

std::optional<std::uint32_t> NumberOfBytes(const std::string& bytes) {
  std::uint32_t number = 0;
  if (bytes.size() != sizeof(number)) return std::nullopt;
  std::memcpy(&number, bytes.data(), sizeof(number));
  return number;
}

template <typename Header>
const Header& HeaderOf(const nlmsghdr& message) {
  return *static_cast<const Header*>(mnl_nlmsg_get_payload(&message));
}

/// \param link  Where an address that means something on one link alone belongs to.
std::optional<SocketAddress> AddressOfBytes(int family, const std::string& bytes,
                                            std::uint32_t link) {
  SocketAddress address{};
  if (family == AF_INET && bytes.size() == sizeof(in_addr)) {
    address.v4.sin_family = AF_INET;
    std::memcpy(&address.v4.sin_addr, bytes.data(), bytes.size());
    return address;
  }
  if (family != AF_INET6 || bytes.size() != sizeof(in6_addr)) return std::nullopt;
  address.v6.sin6_family = AF_INET6;
  std::memcpy(&address.v6.sin6_addr, bytes.data(), bytes.size());
  if (IN6_IS_ADDR_LINKLOCAL(&address.v6.sin6_addr)) address.v6.sin6_scope_id = link;
  return address;
}

std::optional<HostLink> LinkIn(const nlmsghdr& message) {
  const auto& header = HeaderOf<ifinfomsg>(message);
  HostLink link;
  link.index = static_cast<std::uint32_t>(header.ifi_index);
  link.type = header.ifi_type;
  // With the zero that ends it.
  link.name = Attribute<ifinfomsg>(message, IFLA_IFNAME).c_str();
  link.address = Attribute<ifinfomsg>(message, IFLA_ADDRESS);
  return link;
}

std::optional<HostAddress> AddressInMessage(const nlmsghdr& message) {
  const auto& header = HeaderOf<ifaddrmsg>(message);
  // Where a link has two ends, the other one's address is told as well.
  std::string bytes = Attribute<ifaddrmsg>(message, IFA_LOCAL);
  if (bytes.empty()) bytes = Attribute<ifaddrmsg>(message, IFA_ADDRESS);
  const auto address = AddressOfBytes(header.ifa_family, bytes, header.ifa_index);
  if (!address) return std::nullopt;
  const auto flags = NumberOfBytes(Attribute<ifaddrmsg>(message, IFA_FLAGS));
  return HostAddress{header.ifa_index, *address, header.ifa_prefixlen,
                     flags.value_or(header.ifa_flags)};
}

std::optional<HostGateway> GatewayIn(const nlmsghdr& message) {
  const auto& header = HeaderOf<rtmsg>(message);
  const bool isDefault = header.rtm_dst_len == 0 && header.rtm_type == RTN_UNICAST &&
                         header.rtm_table == RT_TABLE_MAIN;
  const auto link = NumberOfBytes(Attribute<rtmsg>(message, RTA_OIF));
  if (!isDefault || !link) return std::nullopt;
  const auto address =
      AddressOfBytes(header.rtm_family, Attribute<rtmsg>(message, RTA_GATEWAY), *link);
  if (!address) return std::nullopt;
  return HostGateway{*link, *address};
}

}  // namespace

std::vector<HostLink> ReadHostLinks() { return ReadAll<HostLink>(RTM_GETLINK, AF_UNSPEC, LinkIn); }

std::vector<HostAddress> ReadHostAddresses() {
  return ReadAll<HostAddress>(RTM_GETADDR, AF_UNSPEC, AddressInMessage);
}

std::vector<HostGateway> ReadHostGateways() {
  return ReadAll<HostGateway>(RTM_GETROUTE, AF_UNSPEC, GatewayIn);
}

}  // namespace Lab
